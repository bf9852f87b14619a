// Random calls: every state that the driver acts on, changed at random moments, around random primitives.
#include <cstdint>
#include <memory>
#include <vector>

#include "api/table/prototypes.h"
#include "captured_program.h"

namespace tlr2::test {
namespace {

class Chance {
 public:
  explicit Chance(std::uint32_t seed) : state_(seed * 2654435761u + 1) {}
  std::uint32_t Below(std::uint32_t count) {
    state_ = state_ * 1664525u + 1013904223u;
    return static_cast<std::uint32_t>((static_cast<std::uint64_t>(state_) * count) >> 32);
  }
  bool OneIn(std::uint32_t count) { return Below(count) == 0; }
  float Float(float low, float high) { return low + (high - low) * static_cast<float>(Below(65536)) / 65535.0f; }
  std::uint32_t Pick(std::initializer_list<std::uint32_t> values) {
    return values.begin()[Below(static_cast<std::uint32_t>(values.size()))];
  }

 private:
  std::uint32_t state_;
};

void Upload(Chance& chance, bool part) {
  const int width = 1 << chance.Below(7), height = 1 << chance.Below(7);
  const std::uint32_t format = chance.Pick({gl::kRgba, gl::kBgra, gl::kRgb});
  std::vector<std::uint8_t> pixels(static_cast<std::size_t>(width) * height * 4);
  for (std::uint8_t& byte : pixels) byte = static_cast<std::uint8_t>(chance.Below(256));
  if (part) {
    glTexSubImage2D(gl::kTexture2D, 0, static_cast<int>(chance.Below(8)), static_cast<int>(chance.Below(8)), width / 2,
                    height / 2, format, gl::kUnsignedByte, pixels.data());
  } else {
    glTexImage2D(gl::kTexture2D, 0, static_cast<int>(gl::kRgba), width, height, 0, format, gl::kUnsignedByte,
                 pixels.data());
  }
}

void ChangeTextures(Chance& chance, std::vector<std::uint32_t>& names) {
  if (names.empty() || chance.OneIn(12)) {
    std::uint32_t name = 0;
    glGenTextures(1, &name);
    names.push_back(name);
  }
  const std::size_t chosen = chance.Below(static_cast<std::uint32_t>(names.size()));
  glBindTexture(gl::kTexture2D, names[chosen]);
  if (chance.OneIn(3)) Upload(chance, chance.OneIn(2));
  if (chance.OneIn(3)) {
    glTexParameteri(gl::kTexture2D, gl::kTextureMinFilter,
                    static_cast<int>(chance.Pick({gl::kNearest, gl::kLinear, gl::kLinearMipmapLinear})));
    glTexParameteri(gl::kTexture2D, gl::kTextureMagFilter, static_cast<int>(chance.Pick({gl::kNearest, gl::kLinear})));
    glTexParameteri(gl::kTexture2D, gl::kTextureWrapS,
                    static_cast<int>(chance.Pick({gl::kRepeat, gl::kClamp, gl::kClampToEdge})));
  }
  if (names.size() > 3 && chance.OneIn(15)) {
    glDeleteTextures(1, &names[chosen]);
    names.erase(names.begin() + static_cast<std::ptrdiff_t>(chosen));
  }
}

void ChangeState(Chance& chance) {
  const auto toggle = [&](std::uint32_t capability, std::uint32_t oneIn) {
    chance.OneIn(oneIn) ? glEnable(capability) : glDisable(capability);
  };
  switch (chance.Below(10)) {
    case 0:
      toggle(gl::kBlend, 2);
      if (chance.OneIn(2))
        glBlendFunc(gl::kSrcAlpha, gl::kOneMinusSrcAlpha);
      else if (chance.OneIn(2))
        glBlendFunc(gl::kOne, gl::kOne);
      else
        glBlendFunc(gl::kZero, gl::kSrcColor);
      break;
    case 1:
      toggle(gl::kAlphaTest, 3);
      glAlphaFunc(chance.Pick({gl::kGreater, gl::kAlways}), 0.5f);
      break;
    case 2:
    case 3:
      toggle(gl::kDepthTest, 2);
      glDepthFunc(chance.Pick({gl::kLequal, gl::kLequal, gl::kLess, gl::kAlways, gl::kGreater, gl::kEqual,
                               gl::kNotequal, gl::kGequal, gl::kNever}));
      glDepthMask(chance.OneIn(4) ? 0 : 1);
      break;
    case 4:
      toggle(gl::kCullFace, 3);
      glCullFace(chance.Pick({gl::kFront, gl::kBack}));
      glFrontFace(chance.Pick({gl::kCw, gl::kCcw}));
      break;
    case 5:
    case 6:
      toggle(gl::kTexture2D, 2);
      glTexEnvi(gl::kTextureEnv, gl::kTextureEnvMode,
                static_cast<int>(chance.Pick({gl::kModulate, gl::kReplace, gl::kDecal, gl::kBlend})));
      break;
    case 7: {
      const float color[4] = {chance.Float(0, 1), chance.Float(0, 1), chance.Float(0, 1), chance.Float(0, 1)};
      glTexEnvfv(gl::kTextureEnv, gl::kTextureEnvColor, color);
      break;
    }
    case 8:
      glDepthRange(chance.Float(0, 0.3f), chance.Float(0.6f, 1));
      break;
    default:
      glViewport(static_cast<int>(chance.Below(40)), static_cast<int>(chance.Below(40)),
                 200 + static_cast<int>(chance.Below(120)), 150 + static_cast<int>(chance.Below(90)));
      break;
  }
}

void ChangeMatrices(Chance& chance) {
  glMatrixMode(chance.OneIn(4) ? gl::kProjection : gl::kModelview);
  switch (chance.Below(7)) {
    case 0:
      glLoadIdentity();
      break;
    case 1:
      glRotatef(chance.Float(-60, 60), chance.Float(-1, 1), chance.Float(-1, 1), chance.Float(0, 1));
      break;
    case 2:
      glTranslatef(chance.Float(-0.2f, 0.2f), chance.Float(-0.2f, 0.2f), chance.Float(-0.1f, 0.1f));
      break;
    case 3:
      glPushMatrix();
      glScalef(chance.Float(0.7f, 1.3f), chance.Float(0.7f, 1.3f), 1);
      break;
    case 4:
      glPopMatrix();
      break;
    case 5:
      glLoadIdentity();
      glOrtho(-1, 1, -1, 1, -2, 2);
      break;
    default:
      glLoadIdentity();
      glFrustum(-0.6, 0.6, -0.5, 0.5, 0.5, 10);
      glTranslatef(0, 0, -1.5f);
      break;
  }
}

void DrawPrimitive(Chance& chance) {
  glBegin(chance.Pick(
      {gl::kTriangles, gl::kTriangleStrip, gl::kTriangleFan, gl::kQuads, gl::kQuadStrip, gl::kPolygon, gl::kLines}));
  const int count = 3 + static_cast<int>(chance.Below(12));
  for (int i = 0; i < count; ++i) {
    if (chance.OneIn(2)) glColor4f(chance.Float(0, 1), chance.Float(0, 1), chance.Float(0, 1), chance.Float(0, 1));
    if (chance.OneIn(2)) glTexCoord2f(chance.Float(-2, 3), chance.Float(-2, 3));
    if (chance.OneIn(6))
      glVertex2f(chance.Float(-1.4f, 1.4f), chance.Float(-1.4f, 1.4f));
    else
      glVertex3f(chance.Float(-1.4f, 1.4f), chance.Float(-1.4f, 1.4f), chance.Float(-1, 1));
  }
  glEnd();
}

}  // namespace

Program RandomProgram(std::uint32_t seed, int frames, bool clears) {
  return [seed, frames, clears](void* window) {
    Chance chance(seed);
    std::vector<std::uint32_t> names;
    for (int frame = 0; frame < frames; ++frame) {
      if (clears || chance.OneIn(8)) {
        glClearColor(chance.Float(0, 1), chance.Float(0, 1), chance.Float(0, 1), 1);
        glClearDepth(chance.OneIn(4) ? chance.Float(0.5f, 1) : 1.0);
        glClear(gl::kColorBufferBit | gl::kDepthBufferBit);
      } else if (chance.OneIn(4)) {
        glClear(chance.Pick({gl::kColorBufferBit, gl::kDepthBufferBit}));
      }
      // A read-back takes the pending clears with it: without one, a clear would repeat in every later frame.
      if (!clears && chance.OneIn(2)) {
        std::uint32_t pixel = 0;
        glReadPixels(0, 0, 1, 1, gl::kBgra, gl::kUnsignedByte, &pixel);
      }
      const int steps = 20 + static_cast<int>(chance.Below(40));
      for (int step = 0; step < steps; ++step) {
        if (chance.OneIn(2)) ChangeState(chance);
        if (chance.OneIn(4)) ChangeTextures(chance, names);
        if (chance.OneIn(5)) ChangeMatrices(chance);
        DrawPrimitive(chance);
      }
      wglSwapBuffers(window);
    }
  };
}

}  // namespace tlr2::test
