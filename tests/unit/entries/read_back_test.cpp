// Queries of the viewport, and reading pixels in the middle of a frame.
#include <cstring>
#include <vector>

#include "entry_fixture.h"
#include "wgl/context.h"

namespace tlr2 {
namespace {

class ReadBack : public EntriesWithContext {
 protected:
  void SetUp() override {
    Make(8, 4);
    glViewport(0, 0, 8, 4);
    glMatrixMode(gl::kProjection);
    glLoadIdentity();
    glMatrixMode(gl::kModelview);
    glLoadIdentity();
  }
  Surface& surface() { return static_cast<ContextRecord*>(context)->surface; }
  /// Over the whole surface.
  static void DrawRed() {
    glColor4ub(255, 0, 0, 255);
    glBegin(gl::kTriangles);
    glVertex2f(-3, -3);
    glVertex2f(5, -3);
    glVertex2f(-3, 5);
    glEnd();
  }
  /// Fills the surface so that each pixel says where it is: 0xAA, row, column, 0x11 from high byte to low.
  void MarkSurface() {
    for (std::int32_t row = 0; row < surface().height; ++row) {
      auto* line = reinterpret_cast<std::uint32_t*>(reinterpret_cast<std::uint8_t*>(surface().colorBuffer) +
                                                    static_cast<std::size_t>(row) * surface().rowPitch);
      for (std::int32_t x = 0; x < surface().width; ++x)
        line[x] = 0xAA000011u | static_cast<std::uint32_t>(row) << 16 | static_cast<std::uint32_t>(x) << 8;
    }
  }
};

TEST_F(ReadBack, AViewportQueryThroughFloatsGivesFourAndThroughIntegersZero) {
  glViewport(1, 2, 8, 4);
  float v[5] = {-1, -1, -1, -1, -1};
  glGetFloatv(gl::kViewport, v);
  EXPECT_EQ(v[0], 1.0f);
  EXPECT_EQ(v[3], 4.0f);
  EXPECT_EQ(v[4], -1.0f);
  GLint i = 9;
  glGetIntegerv(gl::kViewport, &i);
  EXPECT_EQ(i, 0);
  glGetFloatv(0x1234, v);
  EXPECT_EQ(v[0], 0.0f);
  EXPECT_EQ(v[1], 2.0f);
}

TEST_F(ReadBack, TheRecordGoesFirstBeforeAnyTestOfTheArguments) {
  glReadPixels(-1, 2, 0, -3, 7, 8, nullptr);
  const auto record = last<CmdReadPixels>();
  EXPECT_EQ(record.x, -1);
  EXPECT_EQ(record.height, -3);
  EXPECT_EQ(record.type, 8u);
}

TEST_F(ReadBack, WithoutAContextNothingIsReadAndNothingDrained) {
  wglMakeCurrent(nullptr, nullptr);
  std::uint32_t pixel = 7;
  const std::size_t before = recordCount();
  glReadPixels(0, 0, 1, 1, gl::kBgra, gl::kUnsignedByte, &pixel);
  EXPECT_EQ(pixel, 7u);
  EXPECT_EQ(recordCount(), before + 1);
}

TEST_F(ReadBack, RowsRunBottomToTopInEachOfTheFourFormats) {
  MarkSurface();
  std::uint32_t bgra[2 * 2] = {};
  glReadPixels(3, 1, 2, 2, gl::kBgra, gl::kUnsignedByte, bgra);
  // y = 1 is surface row 2, the row above it surface row 1.
  EXPECT_EQ(bgra[0], 0xAA020311u);
  EXPECT_EQ(bgra[1], 0xAA020411u);
  EXPECT_EQ(bgra[2], 0xAA010311u);
  std::uint8_t rgba[4] = {};
  glReadPixels(3, 1, 1, 1, gl::kRgba, gl::kUnsignedByte, rgba);
  const std::uint8_t wantRgba[4] = {0x02, 0x03, 0x11, 0xAA};
  EXPECT_EQ(std::memcmp(rgba, wantRgba, 4), 0);
  std::uint8_t three[2 * 2 * 3 + 1] = {};
  three[12] = 0x77;
  glReadPixels(3, 1, 2, 2, gl::kBgr, gl::kUnsignedByte, three);
  const std::uint8_t wantBgr[12] = {0x11, 3, 2, 0x11, 4, 2, 0x11, 3, 1, 0x11, 4, 1};
  EXPECT_EQ(std::memcmp(three, wantBgr, 12), 0);
  EXPECT_EQ(three[12], 0x77);
  glReadPixels(3, 1, 2, 2, gl::kRgb, gl::kUnsignedByte, three);
  const std::uint8_t wantRgb[12] = {2, 3, 0x11, 2, 4, 0x11, 1, 3, 0x11, 1, 4, 0x11};
  EXPECT_EQ(std::memcmp(three, wantRgb, 12), 0);
  EXPECT_EQ(three[12], 0x77);
}

TEST_F(ReadBack, PixelStoreIsNeverLookedAt) {
  MarkSurface();
  glPixelStorei(0x0D05, 8);
  std::uint8_t rgb[6] = {};
  glReadPixels(0, 0, 1, 2, gl::kRgb, gl::kUnsignedByte, rgb);
  EXPECT_EQ(rgb[0], 3);
  EXPECT_EQ(rgb[3], 2);
}

TEST_F(ReadBack, ARowAtZeroIsTheBottomOfTheWindow) {
  MarkSurface();
  std::uint32_t row[8] = {};
  glReadPixels(0, 0, 8, 1, gl::kBgra, gl::kUnsignedByte, row);
  EXPECT_EQ(row[0], 0xAA030011u);
  EXPECT_EQ(row[7], 0xAA030711u);
}

TEST_F(ReadBack, ARegionBeyondTheSurfaceWritesNothingAndTheDrainHasRun) {
  std::uint32_t pixels[100];
  std::memset(pixels, 0x55, sizeof pixels);
  glClear(gl::kColorBufferBit);
  glReadPixels(1, 0, 8, 1, gl::kBgra, gl::kUnsignedByte, pixels);
  EXPECT_TRUE(stream().bytes.empty());
  EXPECT_EQ(state().pendingColorClear, 0);
  glReadPixels(0, 1, 1, 4, gl::kBgra, gl::kUnsignedByte, pixels);
  glReadPixels(-1, 0, 1, 1, gl::kBgra, gl::kUnsignedByte, pixels);
  glReadPixels(0, -1, 1, 1, gl::kBgra, gl::kUnsignedByte, pixels);
  glReadPixels(0x7FFFFFFF, 0, 1, 1, gl::kBgra, gl::kUnsignedByte, pixels);
  for (const std::uint32_t pixel : pixels) EXPECT_EQ(pixel, 0x55555555u);
}

TEST_F(ReadBack, OtherTypesAndFormatsWriteNothing) {
  std::uint32_t pixel = 0x55555555u;
  glReadPixels(0, 0, 1, 1, gl::kBgra, 0x1406, &pixel);
  glReadPixels(0, 0, 1, 1, gl::kLuminance, gl::kUnsignedByte, &pixel);
  EXPECT_EQ(pixel, 0x55555555u);
}

TEST_F(ReadBack, AClearIsDrainedAndReadAndTheNextReadLeavesThePicture) {
  glClearColor(0, 0, 1, 1);
  glClear(gl::kColorBufferBit);
  std::uint32_t first = 0, second = 0;
  glReadPixels(2, 2, 1, 1, gl::kBgra, gl::kUnsignedByte, &first);
  EXPECT_EQ(first, 0xFF0000FFu);
  glReadPixels(2, 2, 1, 1, gl::kBgra, gl::kUnsignedByte, &second);
  EXPECT_EQ(second, 0xFF0000FFu);
}

TEST_F(ReadBack, ASecondReadFindsNoClearAndNoTrianglesAndLeavesThePicture) {
  glClearColor(0, 0, 1, 1);
  glClearDepth(1);
  glClear(gl::kColorBufferBit | gl::kDepthBufferBit);
  glColor4ub(255, 0, 0, 255);
  glBegin(gl::kTriangles);  // the lower left half
  glVertex2f(-1, -1);
  glVertex2f(1, -1);
  glVertex2f(-1, 1);
  glEnd();
  std::uint32_t first[8 * 4] = {}, second[8 * 4] = {};
  glReadPixels(0, 0, 8, 4, gl::kBgra, gl::kUnsignedByte, first);
  EXPECT_EQ(first[0], 0xFFFF0000u);
  EXPECT_EQ(first[8 * 4 - 1], 0xFF0000FFu);
  EXPECT_EQ(state().pendingColorClear, 0);
  EXPECT_EQ(state().pendingDepthClear, 0);
  EXPECT_TRUE(state().triangles.empty());
  // A clear or triangle that came back would paint over this.
  MarkSurface();
  glReadPixels(0, 0, 8, 4, gl::kBgra, gl::kUnsignedByte, second);
  EXPECT_EQ(state().pendingColorClear, 0);
  EXPECT_EQ(state().pendingDepthClear, 0);
  EXPECT_TRUE(state().triangles.empty());
  for (std::uint32_t y = 0; y < 4; ++y)
    for (std::uint32_t x = 0; x < 8; ++x) EXPECT_EQ(second[y * 8 + x], 0xAA000011u | (3 - y) << 16 | x << 8);
}

TEST_F(ReadBack, ATriangleIsRenderedByTheRead) {
  glClearColor(0, 0, 0, 1);
  glClear(gl::kColorBufferBit | gl::kDepthBufferBit);
  DrawRed();
  std::uint32_t pixels[8 * 4] = {};
  glReadPixels(0, 0, 8, 4, gl::kBgra, gl::kUnsignedByte, pixels);
  for (const std::uint32_t pixel : pixels) EXPECT_EQ(pixel, 0xFFFF0000u);
  EXPECT_TRUE(stream().bytes.empty());
}

TEST_F(ReadBack, WithTrianglesCutOffTheReadGivesWhatTheSurfaceHeld) {
  MarkSurface();
  Settings().pipelineCutoff = 2;
  state().triangles.push_back({});
  state().triangles.clear();
  DrawRed();
  std::uint32_t pixel = 0;
  glReadPixels(0, 0, 1, 1, gl::kBgra, gl::kUnsignedByte, &pixel);
  EXPECT_EQ(pixel, 0xAA030011u);
  EXPECT_TRUE(state().triangles.empty());
  EXPECT_EQ(state().triangles.data()->color[0], 0xFFFF0000u);  // made, and then emptied
}

TEST_F(ReadBack, ASuppressedThreadRendersWithoutDrainingTheStream) {
  const std::size_t records = recordCount();
  CurrentThreadGuard().suppress = true;
  glClearColor(0, 1, 0, 1);
  glClear(gl::kColorBufferBit);
  std::uint32_t pixel = 0;
  glReadPixels(0, 0, 1, 1, gl::kBgra, gl::kUnsignedByte, &pixel);
  CurrentThreadGuard().suppress = false;
  EXPECT_EQ(pixel, 0xFF00FF00u);
  EXPECT_EQ(state().pendingColorClear, 0);
  EXPECT_EQ(recordCount(), records);
}

TEST_F(ReadBack, WithoutACommandStreamTheReadRewindsToTheFramesStart) {
  wglSwapBuffers(window);
  MarkSurface();
  Settings().pipelineCutoff = 0;
  glEnable(gl::kBlend);
  glClear(gl::kColorBufferBit);
  std::uint32_t pixel = 0;
  glReadPixels(0, 0, 1, 1, gl::kBgra, gl::kUnsignedByte, &pixel);
  EXPECT_EQ(pixel, 0xAA030011u);
  EXPECT_EQ(state().pendingColorClear, 0);
  EXPECT_EQ(glIsEnabled(gl::kBlend), 0);
}

TEST_F(ReadBack, StateCallsOfASkippedDrainAreLostWithTheNextReplay) {
  wglSwapBuffers(window);
  glEnable(gl::kBlend);
  std::uint32_t pixel = 0;
  glReadPixels(0, 0, 1, 1, gl::kBgra, gl::kUnsignedByte, &pixel);
  EXPECT_EQ(glIsEnabled(gl::kBlend), 1);
  wglSwapBuffers(window);
  EXPECT_EQ(glIsEnabled(gl::kBlend), 0);
}

TEST_F(ReadBack, StateCallsOfARenderedDrainStay) {
  wglSwapBuffers(window);
  glEnable(gl::kBlend);
  DrawRed();
  std::uint32_t pixel = 0;
  glReadPixels(0, 0, 1, 1, gl::kBgra, gl::kUnsignedByte, &pixel);
  EXPECT_EQ(glIsEnabled(gl::kBlend), 1);
  wglSwapBuffers(window);
  EXPECT_EQ(glIsEnabled(gl::kBlend), 1);
}

TEST_F(ReadBack, APendingDepthClearAloneRendersNothing) {
  wglSwapBuffers(window);
  glEnable(gl::kBlend);
  glClear(gl::kDepthBufferBit);
  std::uint32_t pixel = 0;
  glReadPixels(0, 0, 1, 1, gl::kBgra, gl::kUnsignedByte, &pixel);
  EXPECT_TRUE(stream().bytes.empty());
  EXPECT_EQ(state().pendingDepthClear, 1);
  wglSwapBuffers(window);
  EXPECT_EQ(glIsEnabled(gl::kBlend), 0);
}

TEST_F(ReadBack, ASwapRightAfterAReadFillsWithTheClearColour) {
  glClearColor(0, 0, 1, 1);
  glClear(gl::kColorBufferBit);
  DrawRed();
  glClearColor(0, 1, 0, 1);
  std::uint32_t pixel = 0;
  glReadPixels(0, 0, 1, 1, gl::kBgra, gl::kUnsignedByte, &pixel);
  EXPECT_EQ(pixel, 0xFFFF0000u);
  wglSwapBuffers(window);
  std::vector<std::uint32_t> shown(8 * 4);
  ASSERT_EQ(tlr2HeadlessCopyPicture(window, shown.data(), 8 * 4), 32u);
  EXPECT_EQ(shown, std::vector<std::uint32_t>(8 * 4, 0xFF00FF00u));
}

TEST_F(ReadBack, ADrainFindsItsPixelDataAndGivesTheStreamItsRoomBack) {
  stream().bytes.reserve(kStreamReserve);
  stream().blob.reserve(kBlobReserve);
  const std::size_t bytes = stream().bytes.capacity(), blob = stream().blob.capacity();
  stream().baseSequence = 5;
  const std::uint8_t texel[4] = {0, 255, 0, 255};
  glEnable(gl::kTexture2D);
  glTexImage2D(gl::kTexture2D, 0, 4, 1, 1, 0, gl::kRgba, gl::kUnsignedByte, texel);
  glTexEnvi(gl::kTextureEnv, gl::kTextureEnvMode, gl::kReplace);
  DrawRed();
  std::uint32_t pixel = 0;
  glReadPixels(0, 0, 1, 1, gl::kBgra, gl::kUnsignedByte, &pixel);
  EXPECT_EQ(pixel, 0xFF00FF00u);
  EXPECT_TRUE(stream().bytes.empty() && stream().blob.empty());
  EXPECT_EQ(stream().bytes.capacity(), bytes);
  EXPECT_EQ(stream().blob.capacity(), blob);
  EXPECT_EQ(stream().baseSequence, 5u);
  stream().baseSequence = 0;
}

}  // namespace
}  // namespace tlr2
