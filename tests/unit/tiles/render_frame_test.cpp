// A frame over a surface, with a kernel that writes down what it was called with.
#include "tiles/render_frame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "api/state/driver_state.h"
#include "platform/clock.h"
#include "platform/thread_block.h"
#include "scratch_folder.h"
#include "settings/profile_tree.h"
#include "settings/profiler.h"
#include "settings/settings.h"
#include "settings/stage_counters.h"
#include "tiles/discovery.h"
#include "tiles/frame_tasks.h"
#include "tiles/grid/grid.h"
#include "tiles/queue/render_job_queue.h"

namespace tlr2 {
namespace {

std::atomic<int> kernelCalls;
std::atomic<bool> kernelSawEmptyList;
KernelFrameArgs lastArgs;  // written by single-task frames only

/// Mixes the tile's list, in order, into each of its pixels: order, tile bounds and strides all show.
void MixingKernel(const KernelFrameArgs* args, std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1,
                  const std::uint32_t* entries, std::int32_t count, float* hizCell) {
  ++kernelCalls;
  if (count <= 0) kernelSawEmptyList = true;
  *hizCell = 0.25f;
  for (std::int32_t y = y0; y < y1; ++y) {
    auto* row = reinterpret_cast<std::uint32_t*>(reinterpret_cast<std::uint8_t*>(args->colorPixels) +
                                                 static_cast<std::size_t>(y) * args->colorStrideBytes);
    auto* depth = args->depthPixels + static_cast<std::size_t>(y) * (args->depthStrideBytes / 4);
    for (std::int32_t x = x0; x < x1; ++x) {
      for (std::int32_t i = 0; i < count; ++i) row[x] = (row[x] ^ (entries[i] + 1)) * 0x01000193u;
      depth[x] = static_cast<float>(count);
    }
  }
}

void RememberingKernel(const KernelFrameArgs* args, std::int32_t, std::int32_t, std::int32_t, std::int32_t,
                       const std::uint32_t*, std::int32_t, float*) {
  lastArgs = *args;
  ++kernelCalls;
}

/// Buffers with guard words around every row.
struct Target {
  static constexpr std::uint32_t kGuard = 0xDEADBEEFu;
  std::vector<std::uint32_t> color;
  std::vector<float> depth;
  SurfaceView view;

  Target(std::int32_t width, std::int32_t height, std::uint32_t padding = 16)
      : color(static_cast<std::size_t>(height) * (static_cast<std::size_t>(width) + padding / 4), kGuard),
        depth(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) + 1, 0.5f) {
    view.colorBuffer = color.data();
    view.depthBuffer = depth.data();
    view.width = width;
    view.height = height;
    view.rowPitch = static_cast<std::uint32_t>(width) * 4 + padding;
  }
  std::uint32_t At(std::int32_t x, std::int32_t y) const {
    return color[static_cast<std::size_t>(y) * (view.rowPitch / 4) + static_cast<std::size_t>(x)];
  }
  bool PaddingUntouched() const {
    for (std::int32_t y = 0; y < view.height; ++y)
      for (std::uint32_t x = static_cast<std::uint32_t>(view.width); x < view.rowPitch / 4; ++x)
        if (At(static_cast<std::int32_t>(x), y) != kGuard) return false;
    return depth.back() == 0.5f;
  }
};

void AddTriangle(float x0, float y0, float x1, float y1, float x2, float y2) {
  TriangleRecord t = {};
  t.textureIndex = kNoTexture;
  t.x[0] = x0, t.x[1] = x1, t.x[2] = x2;
  t.y[0] = y0, t.y[1] = y1, t.y[2] = y2;
  DriverStateInstance().triangles.push_back(t);
}

class Frame : public testing::Test {
 protected:
  void SetUp() override {
    DriverState& state = DriverStateInstance();
    ResizeTileGrid(state, 0, 0);
    state.partitions.clear();
    ResetFrame(state);
    state.clearColor = 0xFF102030u;
    Settings().workerLimit = 0;
    Settings().forceIsa = 0;
    kernelCalls = 0;
    kernelSawEmptyList = false;
  }
  void TearDown() override {
    SetUp();
    RJQ::StopPool();
  }
  static void Grid(std::int32_t width, std::int32_t height) { ResizeTileGrid(DriverStateInstance(), width, height); }
  static void Render(const Target& target, FrameOverrides overrides = {MixingKernel, 0}, RenderOptions options = {}) {
    RenderFrameWith(target.view, options, overrides);
  }
};

TEST_F(Frame, ASurfaceWithoutBuffersDropsItsClearsAndKeepsItsTriangles) {
  Grid(64, 64);
  AddTriangle(0, 0, 32, 0, 0, 32);
  for (int missing = 0; missing < 4; ++missing) {
    Target target(64, 64);
    if (missing == 0) target.view.colorBuffer = nullptr;
    if (missing == 1) target.view.depthBuffer = nullptr;
    if (missing == 2) target.view.width = 0;
    if (missing == 3) target.view.height = 0;
    DriverState& state = DriverStateInstance();
    state.pendingColorClear = state.pendingDepthClear = 1;
    Render(target);
    EXPECT_EQ(state.pendingColorClear, 0);
    EXPECT_EQ(state.pendingDepthClear, 0);
    EXPECT_EQ(state.triangles.size(), 1u);
    EXPECT_EQ(kernelCalls, 0);
    EXPECT_EQ(target.color[0], Target::kGuard);
    EXPECT_EQ(LatestFrameStats().triangleCount, 0u);
  }
}

TEST_F(Frame, APendingColourClearFillsTheRowsAndNothingBesideThem) {
  Target target(37, 5);
  DriverState& state = DriverStateInstance();
  state.pendingColorClear = 1;
  state.pendingColorClearValue = 0x01020304u;
  Render(target);
  for (std::int32_t y = 0; y < 5; ++y)
    for (std::int32_t x = 0; x < 37; ++x) ASSERT_EQ(target.At(x, y), 0x01020304u);
  EXPECT_TRUE(target.PaddingUntouched());
  EXPECT_EQ(state.pendingColorClear, 0);
  EXPECT_EQ(target.depth[0], 0.5f);
}

TEST_F(Frame, ATightColourBufferIsFilledWhole) {
  Target target(33, 7, 0);
  DriverStateInstance().pendingColorClear = 1;
  DriverStateInstance().pendingColorClearValue = 7;
  Render(target);
  EXPECT_EQ(target.color, std::vector<std::uint32_t>(33 * 7, 7u));
}

TEST_F(Frame, APendingDepthClearSetsTheBufferAndEveryBound) {
  Grid(40, 40);
  Target target(40, 40);
  DriverState& state = DriverStateInstance();
  state.pendingDepthClear = 1;
  state.pendingDepthClearValue = 0.75f;
  Render(target);
  for (std::size_t i = 0; i < 40 * 40; ++i) ASSERT_EQ(target.depth[i], 0.75f);
  EXPECT_TRUE(target.PaddingUntouched());
  ASSERT_EQ(state.hizTable.size(), 25u);
  for (const float bound : state.hizTable) EXPECT_EQ(bound, 0.75f);
  EXPECT_EQ(state.pendingDepthClear, 0);
}

TEST_F(Frame, AnEmptyFrameRepaintsTheClearColourAndLeavesDepth) {
  Grid(16, 16);
  Target target(16, 16);
  Render(target);
  EXPECT_EQ(target.At(3, 3), 0xFF102030u);
  EXPECT_EQ(target.depth[0], 0.5f);
  RenderOptions keep;
  keep.clearIfEmpty = 0;
  DriverStateInstance().clearColor = 1;
  Render(target, {MixingKernel, 0}, keep);
  EXPECT_EQ(target.At(3, 3), 0xFF102030u);
}

TEST_F(Frame, AnEmptyFrameWithOnlyADepthClearStillRepaintsTheClearColour) {
  Grid(16, 16);
  Target target(16, 16);
  DriverStateInstance().pendingDepthClear = 1;
  DriverStateInstance().pendingDepthClearValue = 0.875f;
  Render(target);
  EXPECT_EQ(target.At(0, 0), 0xFF102030u);
  EXPECT_EQ(target.depth[0], 0.875f);
}

TEST_F(Frame, TrianglesWithoutAPendingClearKeepWhatTheBufferHolds) {
  Grid(64, 64);
  Target target(64, 64);
  AddTriangle(0, 0, 4, 0, 0, 4);
  Render(target);
  EXPECT_EQ(target.At(40, 40), Target::kGuard);
  EXPECT_EQ(kernelCalls, 1);
}

TEST_F(Frame, ThePictureDoesNotDependOnTheTaskCount) {
  Grid(333, 222);
  for (int i = 0; i < 700; ++i) {
    const float x = static_cast<float>(i * 37 % 360 - 10), y = static_cast<float>(i * 53 % 250 - 10);
    const float size = static_cast<float>(i % 11 == 0 ? 300 : 3 + i % 40);
    AddTriangle(x, y, x + size, y + size * 0.3f, x + size * 0.2f, y + size);
  }
  std::vector<std::uint32_t> want;
  for (const bool pool : {false, true}) {
    if (pool) {
      ASSERT_TRUE(RJQ::StartPool(64, 2));
    }
    for (const std::int32_t tasks : {1, 2, 7, 64}) {
      Target target(333, 222);
      DriverStateInstance().pendingColorClear = 1;
      DriverStateInstance().pendingDepthClear = 1;
      Render(target, {MixingKernel, tasks});
      EXPECT_EQ(LatestFrameStats().activeTasks, tasks);
      EXPECT_EQ(LatestFrameStats().participants, static_cast<std::uint32_t>(tasks));
      EXPECT_EQ(LatestFrameStats().macroTiles, 11u * 7u);
      EXPECT_TRUE(target.PaddingUntouched());
      if (want.empty()) want = target.color;
      EXPECT_EQ(target.color, want) << tasks;
    }
  }
  EXPECT_FALSE(kernelSawEmptyList);
}

TEST_F(Frame, ClearsByTheTasksLeaveWhatClearsBeforeThemLeave) {
  // Grids that cover the surface, and grids that leave a part of it to nobody.
  const std::int32_t sizes[][4] = {{100, 70, 100, 70}, {100, 70, 130, 90}, {70, 90, 64, 90}, {33, 9, 64, 64},
                                   {64, 64, 33, 9},    {5, 3, 300, 200},   {32, 32, 32, 32}};
  for (const auto& [gridWidth, gridHeight, width, height] : sizes) {
    for (int which = 1; which <= 3; ++which) {
      for (const std::int32_t tasks : {1, 3, 64, -1, -3}) {
        const bool many = tasks > 0;
        const auto triangles = [many] {
          DriverStateInstance().triangles.clear();
          AddTriangle(3, 3, 40, 8, 10, 50);
          AddTriangle(60, 0, 90, 0, 60, 60);
          if (many) {  // enough to make the tasks clear, and beside the tiles that they leave empty
            for (int i = 0; i < 300; ++i) AddTriangle(0, 0, 30, 0, 0, 30);
          }
        };
        Grid(gridWidth, gridHeight);
        DriverState& state = DriverStateInstance();
        Target before(width, height), byFrame(width, height);
        if ((which & 1) != 0)
          for (std::int32_t y = 0; y < height; ++y)
            for (std::int32_t x = 0; x < width; ++x)
              before.color[static_cast<std::size_t>(y) * (before.view.rowPitch / 4) + static_cast<std::size_t>(x)] =
                  0x12345678u;
        if ((which & 2) != 0) std::fill(before.depth.begin(), before.depth.end() - 1, 0.875f);
        triangles();
        Render(before, {MixingKernel, std::abs(tasks)});
        state.pendingColorClear = (which & 1) != 0;
        state.pendingColorClearValue = 0x12345678u;
        state.pendingDepthClear = (which & 2) != 0;
        state.pendingDepthClearValue = 0.875f;
        triangles();
        Render(byFrame, {MixingKernel, std::abs(tasks)});
        EXPECT_EQ(byFrame.color, before.color) << width << " by " << height;
        EXPECT_EQ(byFrame.depth, before.depth) << width << " by " << height;
        EXPECT_TRUE(byFrame.PaddingUntouched());
        EXPECT_EQ(state.pendingColorClear, 0);
        EXPECT_EQ(state.pendingDepthClear, 0);
      }
    }
  }
}

TEST_F(Frame, ASecondRenderWithoutAResetDoesNotDoubleTheLists) {
  Grid(64, 64);
  AddTriangle(0, 0, 60, 0, 0, 60);
  Target first(64, 64), second(64, 64);
  Render(first);
  Render(second);
  EXPECT_EQ(first.color, second.color);
  EXPECT_EQ(TileListOf(DriverStateInstance(), 0, 0).size(), 1u);
}

#if TLR2_PROFILING
/// Calls of all nodes of a name below `node`.
std::uint64_t ProfiledCalls(const ProfileNode& node, const std::string& name) {
  std::uint64_t calls = node.name == name ? node.calls.load() : 0;
  for (const ProfileNode* child = node.firstChild; child != nullptr; child = child->nextSibling)
    calls += ProfiledCalls(*child, name);
  return calls;
}

std::uint64_t ProfiledCalls(const std::string& name) {
  std::uint64_t calls = 0;
  for (const ProfileNode* root : CopyProfileRoots()) calls += ProfiledCalls(*root, name);
  return calls;
}

TEST_F(Frame, EveryTileOfTheGridCountsAScopeWhetherOrNotItHasTriangles) {
  Grid(100, 70);  // 13 by 9 micro tiles, 4 by 3 macro tiles
  Target target(100, 70);
  AddTriangle(0, 0, 12, 0, 0, 12);
  const std::uint64_t micros = ProfiledCalls("tlr2::RasterizeTile"), macros = ProfiledCalls("tlr2::RenderMacroTile");
  Render(target, {MixingKernel, 3});
  EXPECT_LT(kernelCalls, 5);
  EXPECT_EQ(ProfiledCalls("tlr2::RasterizeTile") - micros, 13u * 9u);
  EXPECT_EQ(ProfiledCalls("tlr2::RenderMacroTile") - macros, 4u * 3u);
  Render(target, {MixingKernel, 3}, {.binOnly = 1});
  EXPECT_EQ(ProfiledCalls("tlr2::RasterizeTile") - micros, 13u * 9u);
  EXPECT_EQ(ProfiledCalls("tlr2::RenderMacroTile") - macros, 4u * 3u);
}

void Spin(std::int64_t milliseconds) {
  const std::int64_t until = TicksNow() + milliseconds * TicksPerSecond() / 1000;
  while (TicksNow() < until) {
  }
}

/// Two tiles take their time, in macro tiles that lie beside each other.
void UnevenKernel(const KernelFrameArgs*, std::int32_t x0, std::int32_t y0, std::int32_t, std::int32_t,
                  const std::uint32_t*, std::int32_t, float*) {
  if (y0 == 0) Spin(x0 == 0 ? 4 : x0 == 32 ? 2 : 0);
}

/// The node of a name below `node`; null without one.
const ProfileNode* NodeBelow(const ProfileNode* node, const std::string& name) {
  for (const ProfileNode* child = node->firstChild; child != nullptr; child = child->nextSibling) {
    if (child->name == name) return child;
    if (const ProfileNode* found = NodeBelow(child, name)) return found;
  }
  return nullptr;
}

TEST_F(Frame, TilesTimesAreThoseOfSingleTilesAndAddUpInsideTheirParents) {
  Grid(64, 64);  // 8 by 8 micro tiles, 2 by 2 macro tiles
  Target target(64, 64);
  AddTriangle(0, 0, 12, 0, 0, 12);
  AddTriangle(33, 0, 45, 0, 33, 12);
  ProfileReset();
  Render(target, {UnevenKernel, 1});
  const ProfileNode* const frame = NodeBelow(CurrentThreadGuard().profileRoot, "tlr2::RenderFrame");
  ASSERT_NE(frame, nullptr);
  const ProfileNode* const task = NodeBelow(frame, "tlr2::WorkerLoopEntry");
  ASSERT_NE(task, nullptr);
  const ProfileNode* const macro = NodeBelow(task, "tlr2::RenderMacroTile");
  ASSERT_NE(macro, nullptr);
  const ProfileNode* const micro = NodeBelow(macro, "tlr2::RasterizeTile");
  ASSERT_NE(micro, nullptr);
  EXPECT_EQ(task->calls.load(), 1u);
  EXPECT_EQ(macro->calls.load(), 4u);
  EXPECT_EQ(micro->calls.load(), 64u);
  // However the system interrupts this, the slow tiles are two, and the figures of one never hold those of another.
  const auto ms = static_cast<std::uint64_t>(TicksPerSecond() / 1000);
  for (const ProfileNode* tiles : {micro, macro}) {
    EXPECT_GE(tiles->totalTicks.load(), 6 * ms) << tiles->name;
    EXPECT_GE(tiles->maxTicks.load(), 4 * ms) << tiles->name;
    EXPECT_LE(tiles->maxTicks.load(), tiles->totalTicks.load() - 2 * ms) << tiles->name;
  }
  EXPECT_EQ(micro->minTicks.load(), 0u);
  EXPECT_LE(macro->minTicks.load(), (macro->totalTicks.load() - 6 * ms) / 2);
  EXPECT_GE(macro->maxTicks.load(), micro->maxTicks.load());
  EXPECT_GE(macro->totalTicks.load(), micro->totalTicks.load());
  EXPECT_GE(task->totalTicks.load(), macro->totalTicks.load());
  EXPECT_GE(frame->totalTicks.load(), task->totalTicks.load());
}
#endif

TEST_F(Frame, AGridLargerThanTheSurfaceStaysInsideTheSurface) {
  Grid(128, 128);
  Target target(36, 21);
  AddTriangle(0, 0, 500, 0, 0, 500);
  Render(target);
  EXPECT_TRUE(target.PaddingUntouched());
  EXPECT_NE(target.At(35, 20), Target::kGuard);
  EXPECT_EQ(kernelCalls, 5 * 3);
}

TEST_F(Frame, TilesAreClippedByTheGrid) {
  Grid(33, 9);
  Target target(64, 64);
  AddTriangle(-500, -500, 500, -500, 0, 800);
  Render(target);
  EXPECT_NE(target.At(32, 8), Target::kGuard);
  EXPECT_EQ(target.At(33, 8), Target::kGuard);
  EXPECT_EQ(target.At(32, 9), Target::kGuard);
}

TEST_F(Frame, WithoutAGridOnlyTheClearsShow) {
  Target target(16, 16);
  DriverStateInstance().pendingColorClear = 1;
  AddTriangle(0, 0, 8, 0, 0, 8);
  Render(target);
  EXPECT_EQ(kernelCalls, 0);
  EXPECT_NE(target.At(0, 0), Target::kGuard);
  EXPECT_EQ(LatestFrameStats().participants, 0u);
  EXPECT_EQ(LatestFrameStats().triangleCount, 1u);
}

TEST_F(Frame, SizesBelowZeroHaveNoTilesHoweverLargeTheirProduct) {
  Target target(16, 16);
  Grid(-0x7FFFFFFF, -0x7FFFFFFF);
  AddTriangle(0, 0, 8, 0, 0, 8);
  Render(target);
  Grid(-40, -40);  // two columns by two rows below zero are not four tiles
  Render(target);
  EXPECT_EQ(kernelCalls, 0);
  EXPECT_EQ(LatestFrameStats().participants, 0u);
}

TEST_F(Frame, CutoffThreePreparesAndRunsNoTask) {
  Grid(64, 64);
  Target target(64, 64);
  DriverState& state = DriverStateInstance();
  state.pendingColorClear = 1;
  state.pendingColorClearValue = 9;
  AddTriangle(0, 0, 8, 0, 0, 8);
  RenderOptions prep;
  prep.cutoff = 3;
  Render(target, {MixingKernel, 0}, prep);
  EXPECT_EQ(kernelCalls, 0);
  EXPECT_EQ(target.At(0, 0), 9u);
  EXPECT_EQ(state.partitions.size(), 1u);
  EXPECT_EQ(state.publishedTriangleCount, 1u);
  EXPECT_EQ(state.trianglesPublished, 1);
  EXPECT_TRUE(TileListOf(state, 0, 0).empty());
  EXPECT_EQ(LatestFrameStats().participants, 0u);
}

TEST_F(Frame, BinOnlyFillsListsAndCountsTilesButCallsNoKernel) {
  Grid(64, 64);
  Target target(64, 64);
  AddTriangle(0, 0, 8, 0, 0, 8);
  RenderOptions bin;
  bin.binOnly = 1;
  bin.cutoff = 4;
  Render(target, {MixingKernel, 0}, bin);
  EXPECT_EQ(kernelCalls, 0);
  EXPECT_EQ(target.At(0, 0), Target::kGuard);
  EXPECT_EQ(TileListOf(DriverStateInstance(), 0, 0).size(), 1u);
  EXPECT_EQ(LatestFrameStats().macroTiles, 4u);
}

TEST_F(Frame, KernelArgumentsDescribeTheSurfaceAndTheFrame) {
  Grid(64, 64);
  Target target(50, 40);
  AddTriangle(0, 0, 3, 0, 0, 3);
  Settings().kernelMode = 2;
  Render(target, {RememberingKernel, 0});
  Settings().kernelMode = 1;
  ASSERT_EQ(kernelCalls, 1);
  EXPECT_EQ(lastArgs.colorStrideBytes, target.view.rowPitch);
  EXPECT_EQ(lastArgs.colorPixels, target.color.data());
  EXPECT_EQ(lastArgs.depthPixels, target.depth.data());
  EXPECT_EQ(lastArgs.depthStrideBytes, 200u);
  EXPECT_EQ(lastArgs.triangles, DriverStateInstance().triangles.data());
  EXPECT_EQ(lastArgs.textureCacheCount, std::max<std::size_t>(DriverStateInstance().textureTable.size(), 1));
  EXPECT_EQ(lastArgs.kernelMode, 2);
}

TEST_F(Frame, TenMacroTilesOverFourTasksAreThreeThreeTwoTwo) {
  Grid(320, 32);
  Target target(320, 32);
  AddTriangle(0, 0, 3, 0, 0, 3);
  Render(target, {MixingKernel, 4});
  const DriverState& state = DriverStateInstance();
  ASSERT_EQ(state.partitions.size(), 4u);
  EXPECT_EQ(state.partitions[0].size(), 3u);
  EXPECT_EQ(state.partitions[1].size(), 3u);
  EXPECT_EQ(state.partitions[2].size(), 2u);
  EXPECT_EQ(state.partitions[3].size(), 2u);
}

TEST(TaskCounts, FollowThePoolTheLimitAndTheMacroTiles) {
  EXPECT_EQ(CountTasks(32, 0, 4).tasks, 4);
  EXPECT_EQ(CountTasks(32, 0, 4).requested, 32);
  EXPECT_EQ(CountTasks(8, 9, 100).tasks, 8);  // above the pool: the full pool
  EXPECT_EQ(CountTasks(8, 8, 100).tasks, 8);
  EXPECT_EQ(CountTasks(8, 3, 100).tasks, 3);
  EXPECT_EQ(CountTasks(8, 3, 100).requested, 3);
  EXPECT_EQ(CountTasks(1, 4096, 100).tasks, 1);
  EXPECT_EQ(CountTasks(8, 0, 0).tasks, 8);  // no grid: no bound from it
  EXPECT_EQ(CountTasks(8, -2, 100).tasks, 1);
}

TEST_F(Frame, TheWorkerLimitIsReadOnEachFrame) {
  ASSERT_TRUE(RJQ::StartPool(64, 2));
  const std::int32_t full = RJQ::WorkerCount(RJQ::Pool());
  Grid(128, 128);
  Target target(128, 128);
  AddTriangle(0, 0, 100, 0, 0, 100);
  Render(target);
  EXPECT_EQ(LatestFrameStats().activeTasks, full);
  Settings().workerLimit = 1;
  Render(target);
  EXPECT_EQ(LatestFrameStats().activeTasks, 1);
  EXPECT_EQ(DriverStateInstance().partitions.size(), 1u);
  Settings().workerLimit = full + 5;
  Render(target);
  EXPECT_EQ(LatestFrameStats().activeTasks, full);
}

TEST_F(Frame, TasksOutsideThePartitionTableReturnAtOnce) {
  Grid(64, 64);
  Target target(64, 64);
  AddTriangle(0, 0, 3, 0, 0, 3);
  Render(target);
  const int calls = kernelCalls;
  FrameTaskContext context = {};
  WorkerLoopEntry(nullptr, -1, &context);
  WorkerLoopEntry(nullptr, 1, &context);
  EXPECT_EQ(kernelCalls, calls);
}

TEST_F(Frame, StageTimesAreAddedOnlyWhenTimingIsOn) {
  Grid(64, 64);
  Target target(64, 64);
  AddTriangle(0, 0, 3, 0, 0, 3);
  const auto counts = [](int stage) { return StageCountersInstance().counts[stage].load(); };
  const std::uint64_t before[] = {counts(6), counts(7), counts(8), counts(9)};
  Render(target);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(counts(6 + i), before[i]);
  SetStageTiming(true);
  Render(target, {MixingKernel, 3});
  SetStageTiming(false);
  EXPECT_EQ(counts(6), before[0] + 1);
  EXPECT_EQ(counts(7), before[1] + 1);
  EXPECT_EQ(counts(8), before[2] + 3);
  EXPECT_EQ(counts(9), before[3] + 3);
}

TEST_F(Frame, TheRecordsSumUpOverTheProcess) {
  Grid(64, 64);
  Target target(64, 64);
  AddTriangle(0, 0, 30, 0, 0, 30);
  AddTriangle(-9, -9, -3, -9, -3, -3);
  const TileDiscoveryStats& record = tileDiscoveryStats[0];
  const std::uint64_t runs = record.invocations, seen = record.trianglesSeen, considered = record.microsConsidered;
  Render(target);
  Render(target);
  EXPECT_EQ(record.invocations, runs + 2);
  EXPECT_EQ(record.trianglesSeen, seen + 4);
  EXPECT_EQ(record.microsConsidered, considered + 32);
  EXPECT_EQ(record.microsConsidered, record.microsEdgeRejected + record.microsAccepted);
}

std::string Report() { return test::WrittenText(TileDiscoveryReport); }

TEST(DiscoveryReport, SumsTheActiveRecordsInFixedLines) {
  TileDiscoveryReport(nullptr);
  for (TileDiscoveryStats& record : tileDiscoveryStats)
    for (auto* word :
         {&record.invocations, &record.trianglesSeen, &record.pickedByBox, &record.pickedByList,
          &record.macrosVisitedByBox, &record.macrosSkippedByOwner, &record.macrosVisitedByList,
          &record.macrosSkippedByBox, &record.microsConsidered, &record.microsEdgeRejected, &record.microsAccepted})
      *word = 0;
  EXPECT_EQ(Report(), "");
  TileDiscoveryStats& a = tileDiscoveryStats[0];
  TileDiscoveryStats& b = tileDiscoveryStats[7];
  tileDiscoveryStats[3].microsConsidered = 1000;  // never invoked: not counted
  a.invocations = 3, b.invocations = 4;
  a.trianglesSeen = 10, b.trianglesSeen = 20;
  a.pickedByBox = 1, b.pickedByBox = 2;
  a.pickedByList = 3, b.pickedByList = 4;
  a.macrosVisitedByBox = 5, b.macrosVisitedByBox = 6;
  a.macrosSkippedByOwner = 1, b.macrosSkippedByOwner = 1;
  a.macrosVisitedByList = 7, b.macrosVisitedByList = 8;
  a.macrosSkippedByBox = 2, b.macrosSkippedByBox = 3;
  a.microsConsidered = 100, b.microsConsidered = 300;
  a.microsEdgeRejected = 30, b.microsEdgeRejected = 31;
  a.microsAccepted = 70, b.microsAccepted = 269;
  EXPECT_EQ(Report(),
            "\n=== Phase Q worker-side tile discovery stats ===\n"
            "  active task partitions:      2\n"
            "  task-loop invocations:       7 (avg 3 / task)\n"
            "  triangles seen (sum):        30\n"
            "  triangles picked bbox-iter:  3\n"
            "  triangles picked owned-list: 7\n"
            "  macros visited (bbox-iter):  11  (skipped by owner 2)\n"
            "  macros visited (owned-iter): 15  (skipped by bbox 5)\n"
            "  micros considered:           400\n"
            "  micros edge-rejected:        61 (15.2%)\n"
            "  micros accepted (binned):    339 (84.8%)\n"
            "  worker imbalance (micros):   min=100 max=300 max/min=3.00x\n");
  b.microsConsidered = 0;
  EXPECT_NE(Report().find("min=0 max=100 max/min=0.00x\n"), std::string::npos);
  a.microsConsidered = a.microsEdgeRejected = b.microsEdgeRejected = 0;
  EXPECT_NE(Report().find("  micros edge-rejected:        0 (0.0%)\n"), std::string::npos) << "no share of nothing";
}

}  // namespace
}  // namespace tlr2
