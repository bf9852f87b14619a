// Programs set their threads up to flush denormals, to round otherwise, or to trap. The calls that compute come to the
// same bits all the same, those that the replay of their records will come to, and leave the program's word as it was.
#include "platform/float_rules.h"

#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "entry_fixture.h"

namespace tlr2 {
namespace {

constexpr unsigned kFlush = 0x8040, kDown = 0x2000, kUp = 0x4000, kTowardZero = 0x6000;
constexpr unsigned kPlain = FloatRules::kControlWord;

/// The thread's control word for as long as it lives.
class ProgramsWord {
 public:
  explicit ProgramsWord(unsigned word) : own_(__builtin_ia32_stmxcsr()) { __builtin_ia32_ldmxcsr(word); }
  ~ProgramsWord() { __builtin_ia32_ldmxcsr(own_); }
  ProgramsWord(const ProgramsWord&) = delete;
  ProgramsWord& operator=(const ProgramsWord&) = delete;

 private:
  unsigned own_;
};

struct Computing {
  const char* name;
  void (*call)();
};

constexpr float kMatrix[16] = {0.1f, 1e-39f, 3.3f, 0.7f, 1.1f, 0.3f, -0.9f,   1e-20f,
                               5.1f, 0.2f,   7.7f, 0.6f, 3e8f, 0.1f, -1e-38f, 1.0f};
constexpr float kColor[4] = {0.503921568f, 0.507843137f, 0.511764705f, 0.7f};  // times 255, a hair from a half

constexpr Computing kComputing[] = {
    {"glMultMatrixf", [] { glMultMatrixf(kMatrix); }},
    {"glTranslatef", [] { glTranslatef(1e-39f, 0.1f, 1.7f); }},
    {"glScalef", [] { glScalef(1e-39f, 0.3f, 1e-20f); }},
    {"glRotatef", [] { glRotatef(33.5f, 1, -2, 0.5f); }},
    {"glRotatef by a denormal angle", [] { glRotatef(1e-39f, 1, -2, 0.5f); }},
    {"glOrtho", [] { glOrtho(-0.1, 1.7, 1e-39, 9.1, -5.3, 7.7); }},
    {"glFrustum", [] { glFrustum(-0.1, 1.7, 0.3, 9.1, 0.1, 77.7); }},
    {"glDepthRange", [] { glDepthRange(0.1, 1e-39); }},
    {"glClearDepth", [] { glClearDepth(0.1); }},
    {"glClearDepth of a denormal", [] { glClearDepth(1e-39); }},
    {"glClearColor", [] { glClearColor(kColor[0], kColor[1], kColor[2], kColor[3]); }},
    {"glTexEnvfv", [] { glTexEnvfv(gl::kTextureEnv, gl::kTextureEnvColor, kColor); }},
};

class FloatRulesOfThePrograms : public Entries {
 protected:
  static constexpr unsigned kWords[] = {kPlain | kFlush,
                                        kPlain | kDown,
                                        kPlain | kUp,
                                        kPlain | kTowardZero,
                                        kPlain | kFlush | kTowardZero,
                                        kPlain | kFlush | kUp | 0x3F};

  /// What `call` leaves in the state and in the stream under a program's word.
  std::vector<std::uint8_t> Left(void (*call)(), unsigned word) {
    Reset();
    state().matricesDirty = 0;
    glLoadMatrixf(kMatrix);
    unsigned after = 0;
    {
      const ProgramsWord program(word);
      call();
      after = __builtin_ia32_stmxcsr();
    }
    // The low six bits gather what has been seen; the driver's own may join them, the rest is the program's.
    EXPECT_EQ(after & ~0x3Fu, word & ~0x3Fu);
    EXPECT_EQ(after & word & 0x3Fu, word & 0x3Fu);
    std::vector<std::uint8_t> bytes;
    const auto add = [&bytes](const auto& value) {
      const auto* at = reinterpret_cast<const std::uint8_t*>(&value);
      bytes.insert(bytes.end(), at, at + sizeof value);
    };
    add(state().matrixStacks[0][0]);
    add(state().depthNear);
    add(state().depthFar);
    add(state().clearDepth);
    add(state().clearColor);
    add(state().texEnvColor);
    add(state().matricesDirty);
    bytes.insert(bytes.end(), stream().bytes.data(), stream().bytes.end());
    return bytes;
  }
};

TEST_F(FloatRulesOfThePrograms, NeitherReachWhatACallComputesNorChange) {
  for (const Computing& computing : kComputing) {
    const std::vector<std::uint8_t> plain = Left(computing.call, kPlain);
    for (const unsigned word : kWords)
      EXPECT_EQ(Left(computing.call, word), plain) << computing.name << std::hex << " under 0x" << word;
  }
}

TEST_F(FloatRulesOfThePrograms, AViewportQueryRoundsToNearest) {
  state().viewport[2] = 16777219;  // between two floats
  float v[4] = {};
  {
    const ProgramsWord program(kPlain | kTowardZero);
    glGetFloatv(gl::kViewport, v);
  }
  EXPECT_EQ(v[2], 16777220.0f);
}

TEST_F(FloatRulesOfThePrograms, WantingTrapsGetsNoneFromTheDriver) {
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN(), kInfinity = std::numeric_limits<float>::infinity();
  {
    const ProgramsWord program(kPlain & ~0x0680u);  // invalid, division by zero, overflow
    glLoadIdentity();
    glOrtho(1, 1, 0, 1, 0, 1);
    glScalef(kInfinity, 3e38f, 3e38f);
    glScalef(0, 3e38f, 3e38f);
    glRotatef(kInfinity, 1, 2, 3);
    glClearColor(kNan, 0, 0, 0);
    glClearDepth(1e300);
    glDepthRange(-1e300, 1e300);
  }
  EXPECT_EQ(state().clearDepth, kInfinity);
  EXPECT_EQ(state().depthNear, -kInfinity);
}

using FloatRulesAcrossASwap = EntriesWithContext;

TEST_F(FloatRulesAcrossASwap, TheReplayComesToTheMirrorsFloats) {
  for (const unsigned word : {kPlain | kFlush, kPlain | kTowardZero, kPlain | kFlush | kUp}) {
    float mirror[16], replayed[16], plain[16];
    const auto transform = [] {
      glLoadIdentity();
      glTranslatef(1e-39f, 0, 0);
      glRotatef(33.5f, 1, -2, 0.5f);
      glFrustum(-0.1, 1.7, 0.3, 9.1, 0.1, 77.7);
    };
    transform();
    glGetFloatv(gl::kModelviewMatrix, plain);
    wglSwapBuffers(window);
    {
      const ProgramsWord program(word);
      transform();
      glGetFloatv(gl::kModelviewMatrix, mirror);
      wglSwapBuffers(window);
      glGetFloatv(gl::kModelviewMatrix, replayed);
    }
    EXPECT_EQ(std::memcmp(mirror, replayed, sizeof mirror), 0) << std::hex << word;
    EXPECT_EQ(std::memcmp(mirror, plain, sizeof mirror), 0) << std::hex << word;
  }
}

}  // namespace
}  // namespace tlr2
