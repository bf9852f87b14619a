// Captures of frames that an application draws, from request to file.
// File offsets are 64-bit and a 32-bit build indexes with less; the files here are small.
#pragma GCC diagnostic ignored "-Wconversion"
#include <tlr2/headless.h>

#include <string>

#include "api/table/commands.h"
#include "capture_bytes.h"
#include "capture_fixture.h"
#include "wgl/context.h"

namespace tlr2 {
namespace {

constexpr std::size_t kTablesAt = 96 + 6376;

class CapturedFrames : public Diagnostics {
 protected:
  void SetUp() override {
    Diagnostics::SetUp();
    window = tlr2HeadlessCreateWindow(8, 4);
    ASSERT_NE(window, nullptr);
    context = wglCreateContext(window);
    ASSERT_NE(context, nullptr);
    wglMakeCurrent(window, context);
    glViewport(0, 0, 8, 4);
  }
  void TearDown() override {
    if (context != nullptr) wglDeleteContext(context);
    tlr2HeadlessDestroyWindow(window);
    Diagnostics::TearDown();
  }
  void Swap() { wglSwapBuffers(window); }
  /// A 1 by 1 image for the bound texture.
  static void Upload(std::uint32_t texel) {
    glTexImage2D(gl::kTexture2D, 0, 4, 1, 1, 0, gl::kBgra, gl::kUnsignedByte, &texel);
  }

  void* window = nullptr;
  void* context = nullptr;
};

TEST_F(CapturedFrames, ARequestCapturesTheStreamsOfTheNextFrames) {
  Settings().captureFrameCount = 2;
  captureRequested = 1;
  Swap();  // frame 1 begins; the two behind it are selected
  glEnable(gl::kBlend);
  Swap();
  glBegin(gl::kTriangles);
  glVertex2f(1, 2);
  glEnd();
  Swap();
  Swap();
  const std::string bytes = BytesOf("TLR2_capture_frames2-3.tlr2-capture");
  ASSERT_GT(bytes.size(), kTablesAt);
  EXPECT_EQ(Get32(bytes, 16), 2u);
  EXPECT_EQ(Get32(bytes, 24), 8u);
  EXPECT_EQ(Get32(bytes, 28), 4u);
  std::string frames;
  Put64(frames, 8 + 12 + 4 + 4);
  Put64(frames, 0);
  Put64(frames, 0);
  for (const std::uint32_t word : {0x00080029u, 4u, 0x000C002Au, 0x3F800000u, 0x40000000u, 0x0004002Cu, 0x0004002Du})
    Put32(frames, word);
  // A frame without calls is the one record of its end.
  Put64(frames, 4);
  Put64(frames, 0);
  Put64(frames, 0);
  Put32(frames, 0x0004002Du);
  EXPECT_EQ(bytes.substr(Get64(bytes, 72)), frames);
  EXPECT_STREQ(LatestFinishedCapture().path, "TLR2_capture_frames2-3.tlr2-capture");
  EXPECT_EQ(LatestFinishedCapture().sizeBytes, bytes.size());
}

TEST_F(CapturedFrames, StateAndTexturesAreThoseOfTheFirstFramesStart) {
  GLuint name = 0;
  glGenTextures(1, &name);
  glBindTexture(gl::kTexture2D, name);
  Upload(0xFF112233u);
  glEnable(gl::kBlend);
  Swap();
  SetCaptureRange(1, 1, "test", false);
  Upload(0xFF445566u);
  glDisable(gl::kBlend);
  GLuint younger = 0;
  glGenTextures(1, &younger);
  glBindTexture(gl::kTexture2D, younger);
  Swap();
  const std::string bytes = BytesOf("TLR2_capture_frame1.tlr2-capture");
  ASSERT_GT(bytes.size(), kTablesAt);
  EXPECT_EQ(Get32(bytes, 48), 2u);  // slot 0 and the first name
  EXPECT_EQ(Get32(bytes, 52), 1u);
  EXPECT_EQ(Get32(bytes, Get64(bytes, 64)), 0xFF112233u);
  EXPECT_EQ(Get32(bytes, 96 + 6308), name);  // bound at the start
  EXPECT_EQ(bytes[96 + 6312], 1);            // blending
  // The upload of the frame itself is in its blob.
  const std::size_t frame = Get64(bytes, 72);
  EXPECT_EQ(Get64(bytes, frame + 8), 4u);
  EXPECT_EQ(Get32(bytes, frame + 24 + Get64(bytes, frame)), 0xFF445566u);
  // The driver itself has gone on.
  EXPECT_EQ(DriverStateInstance().textureTable[name].pixels[0], 0xFF445566u);
}

TEST_F(CapturedFrames, WithoutACommandStreamASelectedCaptureMakesNoFile) {
  SetCaptureRange(0, 1, "test", false);
  SetCaptureReferencePixels(true);
  const std::string before = LatestFinishedCapture().path;
  Settings().pipelineCutoff = 0;
  Swap();
  Swap();
  EXPECT_EQ(captureFirstFrame.load(), -1);
  EXPECT_TRUE(FolderIsEmpty());
  EXPECT_EQ(LatestFinishedCapture().path, before);
}

TEST_F(CapturedFrames, ACaptureBeginsWithTheFirstFrameThatIsRecorded) {
  SetCaptureRange(0, 2, "test", false);
  Settings().pipelineCutoff = 0;
  Swap();
  Settings().pipelineCutoff = 1;
  Swap();
  Swap();
  EXPECT_EQ(Get32(BytesOf("TLR2_capture_frames0-2.tlr2-capture"), 16), 2u);
}

TEST_F(CapturedFrames, ReferencePixelsAreTheFinishedPictureFromItsTopRow) {
  SetCaptureRange(0, 0, "test", false);
  SetCaptureReferencePixels(true);
  glMatrixMode(gl::kProjection);
  glLoadIdentity();
  glMatrixMode(gl::kModelview);
  glLoadIdentity();
  glClearColor(0, 0, 1, 1);
  glClear(gl::kColorBufferBit);
  glColor4ub(255, 0, 0, 255);
  glBegin(gl::kQuads);  // the upper half
  glVertex2f(-1, 0);
  glVertex2f(1, 0);
  glVertex2f(1, 1);
  glVertex2f(-1, 1);
  glEnd();
  Swap();
  const std::string bytes = BytesOf("TLR2_capture_frame0.tlr2-capture");
  ASSERT_GT(bytes.size(), kTablesAt + 24);
  const std::size_t frame = Get64(bytes, 72);
  ASSERT_EQ(Get64(bytes, frame + 16), 8u * 4 * 4);
  const std::size_t pixels = bytes.size() - 8 * 4 * 4;
  EXPECT_EQ(pixels, frame + 24 + Get64(bytes, frame) + Get64(bytes, frame + 8));
  for (std::size_t i = 0; i < 8 * 4; ++i)
    EXPECT_EQ(Get32(bytes, pixels + i * 4), i < 16 ? 0xFFFF0000u : 0xFF0000FFu) << i;
}

TEST_F(CapturedFrames, AFrameWithoutAContextIsNotCaptured) {
  SetCaptureRange(0, 0, "test", false);
  wglMakeCurrent(nullptr, nullptr);
  Swap();
  EXPECT_TRUE(FolderIsEmpty());
}

TEST_F(CapturedFrames, WhatAReadBackDrainedIsInNoCapture) {
  SetCaptureRange(0, 0, "test", false);
  glClear(gl::kColorBufferBit);
  std::uint32_t pixel = 0;
  glReadPixels(0, 0, 1, 1, gl::kBgra, gl::kUnsignedByte, &pixel);
  glEnable(gl::kBlend);
  Swap();
  const std::string bytes = BytesOf("TLR2_capture_frame0.tlr2-capture");
  ASSERT_GT(bytes.size(), kTablesAt);
  std::string stream;
  for (const std::uint32_t word : {0x0008000Eu, 0x0BE2u, 0x0004002Du}) Put32(stream, word);
  EXPECT_EQ(bytes.substr(Get64(bytes, 72) + 24), stream);
}

TEST_F(CapturedFrames, TheSwapsTraceLineBelongsToTheFrameThatEnds) {
  OpenTrace(0, 0, "env", false);
  Swap();
  Swap();
  const std::string text = BytesOf("TLR2_trace_frame0.tlr2-trace");
  const std::size_t swap = text.find("TLR2::WGL::SwapBuffers");
  ASSERT_NE(swap, std::string::npos);
  EXPECT_EQ(text.find("TLR2::WGL::SwapBuffers", swap + 1), std::string::npos);
  EXPECT_NE(text.find("=== end of trace ==="), std::string::npos);
}

}  // namespace
}  // namespace tlr2
