// The frame boundary over a headless window: what a swap does with the recorded stream, stage by stage of the cutoff.
#include "wgl/frame_boundary.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "api/accounting.h"
#include "api/state/command_stream.h"
#include "api/state/driver_state.h"
#include "api/state/keyframe.h"
#include "api/table/commands.h"
#include "capture/writer.h"
#include "frame/replay.h"
#include "platform/thread_block.h"
#include "present/headless/window.h"
#include "scratch_folder.h"
#include "settings/settings.h"
#include "tlr2/headless.h"
#include "wgl/context.h"

namespace tlr2 {
namespace {

constexpr std::int32_t kWidth = 20, kHeight = 12;
constexpr std::uint32_t kBlue = 0xFF0000FFu, kRed = 0xFFFF0000u;

class FrameBoundary : public testing::Test {
 protected:
  void SetUp() override {
    Settings().pipelineCutoff = 5;
    DriverStateInstance() = DriverState();
    LiveKeyframeInstance() = LiveKeyframe();
    Stream().bytes.clear();
    Stream().blob.clear();
    window = tlr2HeadlessCreateWindow(kWidth, kHeight);
    context = ContextCreate(window);
    ASSERT_NE(context, nullptr);
    CurrentThreadGuard().currentContext = context;
    TakeKeyframe();
    currentFrame.store(1);
  }
  void TearDown() override {
    CurrentThreadGuard().currentContext = nullptr;
    CurrentThreadGuard().suppress = false;
    ContextDestroy(context);
    tlr2HeadlessDestroyWindow(window);
    Settings().pipelineCutoff = 5;
  }

  static CommandStream& Stream() { return CommandStreamInstance(); }
  template <typename Record>
  static void Put(const Record& record) {
    AppendRecord(Stream(), record);
  }
  /// Red, over the lower left half.
  static void PutTriangle() {
    Put(CmdColor{.color = kRed});
    Put(CmdBegin{.mode = 4});
    Put(CmdVertex2f{.x = -1, .y = 1});
    Put(CmdVertex2f{.x = -1, .y = -1});
    Put(CmdVertex2f{.x = 1, .y = -1});
    Put(CmdEnd{});
  }
  /// The triangle, then a clear to blue: the order of the calls is not that of the picture.
  static void PutTriangleThenClear() {
    Put(CmdViewport{.x = 0, .y = 0, .width = kWidth, .height = kHeight});
    Put(CmdMatrixMode{.mode = 0x1701});
    Put(CmdLoadIdentity{});
    Put(CmdMatrixMode{.mode = 0x1700});
    Put(CmdLoadIdentity{});
    PutTriangle();
    Put(CmdClearColor{.red = 0, .green = 0, .blue = 1, .alpha = 1});
    Put(CmdClear{.mask = 0x4000});
  }
  void PaintSurface(std::uint32_t value) {
    Surface& surface = context->surface;
    for (std::int32_t y = 0; y < surface.height; ++y)
      for (std::int32_t x = 0; x < surface.width; ++x)
        surface.colorBuffer[static_cast<std::size_t>(y) * (surface.rowPitch / 4) + static_cast<std::size_t>(x)] = value;
  }
  std::uint32_t Shown(std::int32_t x, std::int32_t y) {
    std::vector<std::uint32_t> picture(tlr2HeadlessCopyPicture(window, nullptr, 0));
    tlr2HeadlessCopyPicture(window, picture.data(), static_cast<std::uint32_t>(picture.size()));
    const std::size_t at = static_cast<std::size_t>(y * kWidth + x);
    return at < picture.size() ? picture[at] : 0;
  }
  static void ExpectEmptyFrame() {
    const DriverState& state = DriverStateInstance();
    EXPECT_TRUE(state.packets.empty());
    EXPECT_TRUE(state.packetVertices.empty());
    EXPECT_TRUE(state.triangles.empty());
    EXPECT_EQ(state.pendingColorClear, 0);
    EXPECT_EQ(state.pendingDepthClear, 0);
    EXPECT_EQ(state.publishedTriangleCount, 0u);
    EXPECT_TRUE(Stream().bytes.empty());
    EXPECT_TRUE(Stream().blob.empty());
  }

  const test::ScratchFolder folder;  // the call summary and captures go to the current folder
  void* window = nullptr;
  ContextRecord* context = nullptr;
};

TEST_F(FrameBoundary, AClearAfterATriangleStillLiesUnderIt) {
  PutTriangleThenClear();
  Stream().blob.push_back(1);
  SwapFrame(window);
  EXPECT_EQ(Shown(1, kHeight - 2), kRed);
  EXPECT_EQ(Shown(kWidth - 2, 1), kBlue);
  EXPECT_EQ(currentFrame.load(), 2);
  ExpectEmptyFrame();
}

TEST_F(FrameBoundary, TheStreamKeepsItsRoomAndItsBaseSequence) {
  PutTriangleThenClear();
  Stream().baseSequence = 77;
  const std::size_t room = Stream().bytes.capacity(), blobRoom = Stream().blob.capacity();
  const std::uint8_t* const place = Stream().bytes.data();
  SwapFrame(window);
  EXPECT_EQ(Stream().bytes.capacity(), room);
  EXPECT_EQ(Stream().blob.capacity(), blobRoom);
  EXPECT_EQ(Stream().bytes.data(), place);
  EXPECT_EQ(Stream().baseSequence, 77u);
  Stream().baseSequence = 0;
}

TEST_F(FrameBoundary, TheProgramsOwnFloatRulesNeitherReachThePictureNorChange) {
  StopReplayThread();  // the next swap starts it, from a thread set up otherwise
  Put(CmdClearDepth{.depth = 1});
  Put(CmdDepthRange{.zNear = 0, .zFar = 1e-39f});
  Put(CmdEnable{.cap = gl::kDepthTest});
  Put(CmdClear{.mask = 0x4100});
  PutTriangleThenClear();
  const unsigned own = __builtin_ia32_stmxcsr();
  const unsigned program = (own | 0x8040) & ~0x3Fu;  // denormals flushed in and out
  __builtin_ia32_ldmxcsr(program);
  SwapFrame(window);
  const unsigned after = __builtin_ia32_stmxcsr() & ~0x3Fu;
  __builtin_ia32_ldmxcsr(own);
  EXPECT_EQ(after, program);
  float halfway = 0;
  std::memcpy(&halfway, &context->surface.depthBuffer[(kHeight - 1) * kWidth], sizeof halfway);
  EXPECT_GT(halfway, 4e-40f);
  EXPECT_LT(halfway, 6e-40f);
}

TEST_F(FrameBoundary, WithTheStreamCutOffThePictureInTheBufferIsStillShown) {
  PaintSurface(0x12345678u);
  Settings().pipelineCutoff = 0;
  DriverStateInstance().pendingColorClear = 1;  // as the entry leaves it
  SwapFrame(window);
  EXPECT_EQ(tlr2HeadlessPictureCount(window), 1u);
  EXPECT_EQ(Shown(3, 3), 0x12345678u);
  EXPECT_EQ(currentFrame.load(), 2);
  ExpectEmptyFrame();
}

TEST_F(FrameBoundary, StagesBeforeTheRendererShowTheBufferAndEmptyTheFrame) {
  for (const std::int32_t cutoff : {1, 2}) {
    PaintSurface(0x12345678u);
    Settings().pipelineCutoff = cutoff;
    PutTriangleThenClear();
    SwapFrame(window);
    EXPECT_EQ(Shown(1, kHeight - 2), 0x12345678u) << cutoff;
    ExpectEmptyFrame();
  }
  EXPECT_EQ(tlr2HeadlessPictureCount(window), 2u);
}

TEST_F(FrameBoundary, StagesBeforeTheKernelsShowTheClearAlone) {
  for (const std::int32_t cutoff : {3, 4}) {
    PaintSurface(0x12345678u);
    Settings().pipelineCutoff = cutoff;
    PutTriangleThenClear();
    SwapFrame(window);
    EXPECT_EQ(Shown(1, kHeight - 2), kBlue) << cutoff;
    EXPECT_EQ(Shown(kWidth - 2, 1), kBlue) << cutoff;
    ExpectEmptyFrame();
  }
}

TEST_F(FrameBoundary, AStageThatIsNoneDrawsEverything) {
  for (const std::int32_t cutoff : {-1, 6}) {
    PaintSurface(0x12345678u);
    Settings().pipelineCutoff = cutoff;
    PutTriangleThenClear();
    SwapFrame(window);
    EXPECT_EQ(Shown(1, kHeight - 2), kRed) << cutoff;
  }
}

TEST_F(FrameBoundary, TheNextFramesStartIsTakenBeforeTheRenderAndHoldsItsClears) {
  PutTriangleThenClear();
  SwapFrame(window);
  EXPECT_EQ(LiveKeyframeInstance().valid, 1);
  EXPECT_EQ(LiveKeyframeInstance().snapshot.pendingColorClear, 1);
  EXPECT_EQ(LiveKeyframeInstance().snapshot.clearColor, kBlue);
  // So a frame that only draws is cleared again.
  PaintSurface(0x12345678u);
  PutTriangle();
  SwapFrame(window);
  EXPECT_EQ(Shown(1, kHeight - 2), kRed);
  EXPECT_EQ(Shown(kWidth - 2, 1), kBlue);
}

TEST_F(FrameBoundary, WithoutAContextTheStreamIsDroppedAndTheFrameEnds) {
  CurrentThreadGuard().currentContext = nullptr;
  Put(CmdEnable{.cap = 0x0BE2});
  Stream().blob.push_back(1);
  SwapFrame(window);
  EXPECT_TRUE(Stream().bytes.empty());
  EXPECT_TRUE(Stream().blob.empty());
  EXPECT_EQ(currentFrame.load(), 2);
  EXPECT_EQ(DriverStateInstance().blendEnabled, 0);  // nothing was replayed
  EXPECT_EQ(tlr2HeadlessPictureCount(window), 0u);
}

TEST_F(FrameBoundary, ASurfaceThatLostItsBufferDropsTheClears) {
  FindHeadlessWindow(window)->failPresent = true;
  SwapFrame(window);
  EXPECT_EQ(context->surface.colorBuffer, nullptr);
  PutTriangleThenClear();
  SwapFrame(window);
  EXPECT_EQ(tlr2HeadlessPictureCount(window), 0u);
  EXPECT_EQ(currentFrame.load(), 3);
  ExpectEmptyFrame();
}

TEST_F(FrameBoundary, AReplayOnTheApplicationsThreadAsksTheSurfaceToGrow) {
  Put(CmdViewport{.x = 0, .y = 0, .width = 40, .height = 5});
  SwapFrame(window);  // by the replay thread, which has no context: the call itself would have asked
  EXPECT_EQ(context->surface.width, kWidth);
  EXPECT_EQ(DriverStateInstance().fbWidth, 40);

  CurrentThreadGuard().suppress = true;  // recording off: the replay runs here
  Put(CmdViewport{.x = 0, .y = 0, .width = 40, .height = 5});
  Put(CmdViewport{.x = 0, .y = 0, .width = -1, .height = 90});
  SwapFrame(window);
  EXPECT_EQ(context->surface.width, 40);
  EXPECT_EQ(context->surface.height, kHeight);
}

TEST_F(FrameBoundary, TheCallSummaryIsWrittenAfterEachSixtiethFrame) {
  const char* const kSummary = "TLR2_api_calls.log";
  for (const std::int32_t frame : {60, 120, 180}) {
    currentFrame.store(frame - 2);
    SwapFrame(window);
    EXPECT_FALSE(std::filesystem::exists(kSummary)) << frame - 1;
    SwapFrame(window);
    EXPECT_TRUE(std::filesystem::remove(kSummary)) << frame;
    SwapFrame(window);
    EXPECT_FALSE(std::filesystem::exists(kSummary)) << frame + 1;
  }
}

TEST_F(FrameBoundary, ACapturesLastFrameIsCapturedWholeWithItsTightPixels) {
  currentFrame.store(7);
  SetCaptureReferencePixels(true);
  SetCaptureRange(7, 8, "test", false);
  for (int i = 0; i < 3; ++i) {
    PutTriangleThenClear();
    SwapFrame(window);
  }
  SetCaptureReferencePixels(false);
  EXPECT_EQ(LatestFinishedCapture().frameCount, 2u);
  std::ifstream in("TLR2_capture_frames7-8.tlr2-capture", std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  EXPECT_EQ(LatestFinishedCapture().sizeBytes, bytes.size());
  constexpr std::size_t kPixels = static_cast<std::size_t>(kWidth) * kHeight;
  ASSERT_GT(bytes.size(), kPixels * 4);
  std::vector<std::uint32_t> pixels(kPixels);
  std::memcpy(pixels.data(), bytes.data() + bytes.size() - kPixels * 4, kPixels * 4);
  EXPECT_EQ(pixels[kWidth - 2], kBlue);
  EXPECT_EQ(pixels[static_cast<std::size_t>(kHeight - 1) * kWidth + 1], kRed);
}

}  // namespace
}  // namespace tlr2
