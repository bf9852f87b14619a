// Entries whose only job is a fixed answer.
#include <cstdlib>
#include <cstring>
#include <string>

#include "entry_fixture.h"

namespace tlr2 {
namespace {

using Answers = Entries;

std::string Text(GLenum name) { return reinterpret_cast<const char*>(glGetString(name)); }

TEST_F(Answers, StringsNameTheDriverAndNoExtension) {
  EXPECT_EQ(Text(0x1F00), "TLR2 Project");
  EXPECT_EQ(Text(0x1F01), "TLR2 Null Renderer");
  EXPECT_EQ(Text(0x1F02), "1.1");
  EXPECT_EQ(Text(0x1F03), "");
  ASSERT_NE(glGetString(0x1234), nullptr);
  EXPECT_EQ(Text(0x1234), "");
}

TEST_F(Answers, TheErrorIsAlwaysNone) {
  glEnable(0x1234);
  EXPECT_EQ(glGetError(), 0u);
}

TEST_F(Answers, IntegersTellTheFormatAndATextureLimitThatIsNotEnforced) {
  const auto value = [](GLenum name) {
    GLint words[2] = {-7, -7};
    glGetIntegerv(name, words);
    EXPECT_EQ(words[1], -7);  // one integer is written, always
    return words[0];
  };
  EXPECT_EQ(value(0x0D33), 1024);
  glTexImage2D(gl::kTexture2D, 0, 4, 1025, 2000, 0, gl::kLuminance, gl::kUnsignedByte, nullptr);
  EXPECT_EQ(state().textureTable[0].width, 1025);
  EXPECT_EQ(state().textureTable[0].height, 2000);
  for (GLenum bits = 0x0D52; bits <= 0x0D55; ++bits) EXPECT_EQ(value(bits), 8);
  EXPECT_EQ(value(0x0D56), 24);
  EXPECT_EQ(value(0x0D57), 0);  // stencil
  EXPECT_EQ(value(0x0D51), 0);
  EXPECT_EQ(value(gl::kViewport), 0);
}

TEST_F(Answers, ANullResultCountsAndWritesNothing) {
  const std::uint64_t integers = CallsOf(Entry::glGetIntegerv), floats = CallsOf(Entry::glGetFloatv),
                      booleans = CallsOf(Entry::glGetBooleanv), doubles = CallsOf(Entry::glGetDoublev);
  glGetIntegerv(0x0D33, nullptr);
  glGetFloatv(gl::kViewport, nullptr);
  glGetBooleanv(0x0D33, nullptr);
  glGetDoublev(0x0D33, nullptr);
  EXPECT_EQ(CallsOf(Entry::glGetIntegerv), integers + 1);
  EXPECT_EQ(CallsOf(Entry::glGetFloatv), floats + 1);
  EXPECT_EQ(CallsOf(Entry::glGetBooleanv), booleans + 1);
  EXPECT_EQ(CallsOf(Entry::glGetDoublev), doubles + 1);
}

TEST_F(Answers, BooleansAndDoublesAreZero) {
  GLboolean bytes[2] = {9, 9};
  glGetBooleanv(0x0BE2, bytes);
  EXPECT_EQ(bytes[0], 0);
  EXPECT_EQ(bytes[1], 9);
  double numbers[2] = {9, 9};
  glGetDoublev(0x0BA6, numbers);
  EXPECT_EQ(numbers[0], 0.0);
  EXPECT_EQ(numbers[1], 9.0);
}

TEST_F(Answers, ListRangesAreHandedOutOnceAndNothingElseMovesTheCounter) {
  // In a process of its own: the counter starts at 1 with the process.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        const bool right = glGenLists(0) == 1 && glGenLists(-3) == 1 && glGenLists(5) == 1 && glGenLists(1) == 6 &&
                           glGenLists(0) == 7 && glGenLists(-1) == 7;
        std::_Exit(right ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(Answers, ListsDoNotExistAndTheRenderModeIsZero) {
  EXPECT_EQ(glIsList(1), 0);
  EXPECT_EQ(glRenderMode(0x1C02), 0);
}

TEST_F(Answers, AllTexturesAreResident) {
  GLboolean bytes[4] = {7, 7, 7, 7};
  const GLuint names[3] = {1, 2, 3};
  EXPECT_EQ(glAreTexturesResident(3, names, bytes), 1);
  EXPECT_EQ(bytes[0] + bytes[1] + bytes[2], 3);
  EXPECT_EQ(bytes[3], 7);
  EXPECT_EQ(glAreTexturesResident(0, names, bytes + 3), 1);
  EXPECT_EQ(bytes[3], 7);
  EXPECT_EQ(glAreTexturesResident(-1, names, bytes + 3), 1);
  EXPECT_EQ(glAreTexturesResident(3, names, nullptr), 1);
}

}  // namespace
}  // namespace tlr2
