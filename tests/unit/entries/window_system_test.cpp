// The wgl entries.
#include <cstring>
#include <thread>

#include "entry_fixture.h"
#include "wgl/context.h"

namespace tlr2 {
namespace {

using WindowSystem = Entries;
using WindowSystemWithContext = EntriesWithContext;

TEST_F(WindowSystem, OneFormatExistsWhateverIsAsked) {
  EXPECT_EQ(wglChoosePixelFormat(nullptr, nullptr), 1);
  EXPECT_EQ(wglGetPixelFormat(nullptr), 1);
  EXPECT_EQ(wglSetPixelFormat(nullptr, 77, nullptr), 1);
}

TEST_F(WindowSystem, TheFormatIsDescribedByteByByte) {
  std::uint8_t bytes[44];
  std::memset(bytes, 0xEE, sizeof bytes);
  EXPECT_EQ(wglDescribePixelFormat(nullptr, 99, 40, bytes), 1);
  std::uint8_t expected[44] = {40, 0, 1, 0, 0x25, 0, 0, 0, 0, 32, 8, 0, 8, 0, 8, 0, 8, 0, 0, 0, 0, 0, 0, 24};
  std::memset(expected + 40, 0xEE, 4);
  EXPECT_EQ(std::memcmp(bytes, expected, sizeof bytes), 0);
}

TEST_F(WindowSystem, ATooSmallDescriptionIsNotWritten) {
  std::uint8_t bytes[40];
  std::memset(bytes, 0xEE, sizeof bytes);
  EXPECT_EQ(wglDescribePixelFormat(nullptr, 1, 39, bytes), 1);
  for (const std::uint8_t byte : bytes) EXPECT_EQ(byte, 0xEE);
  EXPECT_EQ(wglDescribePixelFormat(nullptr, 1, 40, nullptr), 1);
}

TEST_F(WindowSystem, NoProcedureIsEverFound) {
  const std::uint64_t calls = CallsOf(Entry::wglGetProcAddress);
  EXPECT_EQ(wglGetProcAddress("glActiveTextureARB"), nullptr);
  EXPECT_EQ(wglGetProcAddress("glBegin"), nullptr);
  EXPECT_EQ(wglGetProcAddress(nullptr), nullptr);
  EXPECT_EQ(CallsOf(Entry::wglGetProcAddress), calls + 3);
}

TEST_F(WindowSystem, FixedAnswers) {
  EXPECT_EQ(wglCopyContext(nullptr, nullptr, 0), 1);
  EXPECT_EQ(wglShareLists(nullptr, nullptr), 1);
  EXPECT_EQ(wglRealizeLayerPalette(nullptr, 0, 0), 1);
  EXPECT_EQ(wglDescribeLayerPlane(nullptr, 0, 0, 0, nullptr), 0);
  EXPECT_EQ(wglGetLayerPaletteEntries(nullptr, 0, 0, 0, nullptr), 0);
  EXPECT_EQ(wglSetLayerPaletteEntries(nullptr, 0, 0, 0, nullptr), 0);
  EXPECT_EQ(wglUseFontBitmapsA(nullptr, 0, 0, 0), 0);
  EXPECT_EQ(wglUseFontOutlinesA(nullptr, 0, 0, 0, 0, 0, 0, nullptr), 0);
}

TEST_F(WindowSystem, ADeviceContextWithoutAWindowGetsNoContext) {
  EXPECT_EQ(wglCreateContext(nullptr), nullptr);
  EXPECT_EQ(wglDeleteContext(nullptr), 0);
}

TEST_F(WindowSystem, ClearingTheCurrentContextTakesNoKeyframe) {
  EXPECT_EQ(wglMakeCurrent(nullptr, nullptr), 1);
  EXPECT_EQ(LiveKeyframeInstance().valid, 0);
  EXPECT_EQ(wglGetCurrentContext(), nullptr);
  EXPECT_EQ(wglGetCurrentDC(), nullptr);
}

TEST_F(WindowSystemWithContext, MakingCurrentTakesAKeyframeWhileTheStreamIsEmpty) {
  EXPECT_EQ(LiveKeyframeInstance().valid, 1);
  EXPECT_EQ(wglGetCurrentContext(), context);
  EXPECT_EQ(wglGetCurrentDC(), window);
  LiveKeyframeInstance().valid = 0;
  glEnable(gl::kBlend);
  wglMakeCurrent(window, context);
  EXPECT_EQ(LiveKeyframeInstance().valid, 0);
}

TEST_F(WindowSystemWithContext, TheSurfaceHasTheWindowsSize) {
  const Surface& surface = static_cast<ContextRecord*>(context)->surface;
  EXPECT_EQ(surface.width, 64);
  EXPECT_EQ(surface.height, 48);
}

TEST_F(WindowSystemWithContext, TheCurrentContextIsTheThreads) {
  void* seen = context;
  std::thread([&seen] { seen = wglGetCurrentContext(); }).join();
  EXPECT_EQ(seen, nullptr);
}

TEST_F(WindowSystemWithContext, DeletingTheCurrentContextLeavesNone) {
  EXPECT_EQ(wglDeleteContext(context), 1);
  context = nullptr;
  EXPECT_EQ(wglGetCurrentContext(), nullptr);
}

TEST_F(WindowSystemWithContext, DeletingAnotherContextKeepsTheCurrentOne) {
  void* second = wglCreateContext(window);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(wglDeleteContext(second), 1);
  EXPECT_EQ(wglGetCurrentContext(), context);
}

TEST_F(WindowSystemWithContext, ALayerContextExistsForTheMainPlaneAlone) {
  const std::uint64_t outer = CallsOf(Entry::wglCreateLayerContext), inner = CallsOf(Entry::wglCreateContext);
  EXPECT_EQ(wglCreateLayerContext(window, 1), nullptr);
  EXPECT_EQ(CallsOf(Entry::wglCreateContext), inner);
  void* layer = wglCreateLayerContext(window, 0);
  EXPECT_NE(layer, nullptr);
  EXPECT_EQ(CallsOf(Entry::wglCreateLayerContext), outer + 2);
  EXPECT_EQ(CallsOf(Entry::wglCreateContext), inner + 1);
  wglDeleteContext(layer);
}

TEST_F(WindowSystem, ASwapWithoutAContextEmptiesTheStreamAndEndsTheFrame) {
  const std::int32_t frame = currentFrame.load();
  glEnable(gl::kBlend);
  EXPECT_EQ(wglSwapBuffers(nullptr), 1);
  EXPECT_TRUE(stream().bytes.empty());
  EXPECT_EQ(currentFrame.load(), frame + 1);
}

TEST_F(WindowSystemWithContext, ALayerSwapCountsBothEntriesWhateverThePlanes) {
  const std::int32_t frame = currentFrame.load();
  const std::uint64_t outer = CallsOf(Entry::wglSwapLayerBuffers), inner = CallsOf(Entry::wglSwapBuffers);
  EXPECT_EQ(wglSwapLayerBuffers(window, 0), 1);
  EXPECT_EQ(wglSwapLayerBuffers(window, 0xFFFF), 1);
  EXPECT_EQ(CallsOf(Entry::wglSwapLayerBuffers), outer + 2);
  EXPECT_EQ(CallsOf(Entry::wglSwapBuffers), inner + 2);
  EXPECT_EQ(currentFrame.load(), frame + 2);
  EXPECT_EQ(tlr2HeadlessPictureCount(window), 2u);
}

TEST_F(WindowSystemWithContext, AnEmptyFrameLeavesTheStateAsItWas) {
  glEnable(gl::kDepthTest);
  glColor4ub(1, 2, 3, 4);
  glMatrixMode(gl::kProjection);
  glLoadIdentity();
  wglSwapBuffers(window);
  EXPECT_EQ(glIsEnabled(gl::kDepthTest), 1);
  EXPECT_EQ(state().currentColor, 0x04010203u);
  EXPECT_EQ(state().matrixMode, 1);
  EXPECT_EQ(LiveKeyframeInstance().valid, 1);
  EXPECT_TRUE(stream().bytes.empty());
}

TEST_F(WindowSystem, CallsBeforeTheFirstContextStayInTheStreamAndRelativeOnesActTwice) {
  glPushMatrix();
  glEnable(gl::kBlend);
  void* window = tlr2HeadlessCreateWindow(64, 48);
  void* context = wglCreateContext(window);
  ASSERT_NE(context, nullptr);
  wglMakeCurrent(window, context);
  EXPECT_EQ(recordCount(), 2u);
  EXPECT_EQ(LiveKeyframeInstance().valid, 0);  // so the first replay begins from what the calls left
  wglSwapBuffers(window);
  EXPECT_EQ(state().stackDepth[0], 2);
  EXPECT_EQ(glIsEnabled(gl::kBlend), 1);
  glPushMatrix();
  wglSwapBuffers(window);
  EXPECT_EQ(state().stackDepth[0], 3);
  wglDeleteContext(context);
  tlr2HeadlessDestroyWindow(window);
}

}  // namespace
}  // namespace tlr2
