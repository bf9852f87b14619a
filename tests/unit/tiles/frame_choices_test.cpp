// What a frame chooses from the settings as they stand, and what it notes of itself, over the real kernels.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "api/state/driver_state.h"
#include "kernels/tile_kernel.h"
#include "platform/clock.h"
#include "scratch_folder.h"
#include "settings/occupancy.h"
#include "settings/settings.h"
#include "settings/stage_counters.h"
#include "tiles/frame_tasks.h"
#include "tiles/grid/grid.h"
#include "tiles/render_frame.h"
#include "tiles/runtime_config.h"

namespace tlr2 {
namespace {

constexpr std::int32_t kSide = 64;

class FrameChoices : public testing::Test {
 protected:
  void SetUp() override {
    ResizeTileGrid(DriverStateInstance(), kSide, kSide);
    ResetFrame(DriverStateInstance());
    Settings().forceIsa = 0;
    Settings().workerLimit = 0;
  }
  void TearDown() override { SetUp(); }

  /// Covers the surface with depths that no two roundings share.
  static void AddSlope() {
    TriangleRecord t = {};
    const float x[3] = {-3.3f, 201.7f, -5.9f}, y[3] = {-4.1f, -2.3f, 177.1f}, z[3] = {0.1f, 0.77f, 0.39f};
    for (int i = 0; i < 3; ++i) {
      t.x[i] = x[i];
      t.y[i] = y[i];
      t.z[i] = z[i];
      t.invW[i] = 1.0f;
    }
    t.textureIndex = kNoTexture;
    t.depthTest = t.depthWrite = 1;
    DriverStateInstance().triangles.push_back(t);
  }

  std::vector<float> DepthsWith(TileKernelFn kernel) {
    depth.assign(kSide * kSide, 1.0f);
    Render({kernel, 0});
    return depth;
  }
  void Render(FrameOverrides overrides = {}, RenderOptions options = {}) {
    RenderFrameWith({depth.data(), color.data(), kSide, kSide, kSide * 4}, options, overrides);
  }

  std::vector<std::uint32_t> color = std::vector<std::uint32_t>(kSide * kSide, 0);
  std::vector<float> depth = std::vector<float>(kSide * kSide, 1.0f);
};

TEST_F(FrameChoices, TheForcedTargetIsReadOnEachFrame) {
  AddSlope();
  if (IsaSupported(2)) {
    EXPECT_NE(DepthsWith(tlr2_TileKernel_sse4), DepthsWith(tlr2_TileKernel_avx2));
  }
  for (const std::int32_t word : {1, 3, 0, 2, 4, 1, 5, -1}) {
    const std::int32_t target = word >= 1 && word <= 4 && IsaSupported(word - 1) ? word - 1 : -1;
    Settings().forceIsa = word;
    EXPECT_EQ(DepthsWith(nullptr), DepthsWith(KernelForTarget(target))) << word;
  }
}

/// A kernel that clears nothing by itself.
void PlainKernel(const KernelFrameArgs* args, std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1,
                 const std::uint32_t* entries, std::int32_t count, float* hizCell) {
  tlr2_TileKernel(args, x0, y0, x1, y1, entries, count, hizCell);
}

TEST_F(FrameChoices, TilesAreClearedWhoeverClearsThem) {
  // Most tiles drawn into, some in part, some not at all.
  AddSlope();
  DriverStateInstance().triangles[0].x[1] = 90.0f;
  const auto render = [&](TileKernelFn kernel, bool clearColor, bool clearDepth) {
    DriverState& state = DriverStateInstance();
    for (std::size_t i = 0; i < color.size(); ++i) {
      color[i] = static_cast<std::uint32_t>(i) * 0x10203u;
      depth[i] = 0.2f + 0.0001f * static_cast<float>(i);
    }
    for (float& bound : state.hizTable) bound = 1.0f;
    state.pendingColorClear = clearColor;
    state.pendingColorClearValue = 0xFF123456u;
    state.pendingDepthClear = clearDepth;
    state.pendingDepthClearValue = 0.5f;
    Render({kernel, 0});
    EXPECT_EQ(state.pendingColorClear + state.pendingDepthClear, 0);
    return std::pair(color, depth);
  };
  for (int clears = 0; clears < 4; ++clears) {
    const auto byKernel = render(nullptr, (clears & 1) != 0, (clears & 2) != 0);
    const auto byTask = render(PlainKernel, (clears & 1) != 0, (clears & 2) != 0);
    EXPECT_EQ(byKernel, byTask) << clears;
    const auto cleared = std::count(byKernel.first.begin(), byKernel.first.end(), 0xFF123456u);
    const auto far = std::count(byKernel.second.begin(), byKernel.second.end(), 0.5f);
    EXPECT_EQ(cleared > 64, (clears & 1) != 0);
    EXPECT_EQ(far > 64, (clears & 2) != 0);
    EXPECT_LT(cleared, kSide * kSide);
    EXPECT_LT(far, kSide * kSide);
  }
}

TEST_F(FrameChoices, AResetEmptiesTheListsOfFramesThatDrewAndOfThoseThatDidNot) {
  DriverState& state = DriverStateInstance();
  const auto filled = [&] {
    return std::count_if(state.tileLists.begin(), state.tileLists.end(),
                         [](const TileEntryList& list) { return !list.empty(); });
  };
  for (const bool draws : {true, false, true, true, false, false}) {
    if (draws) AddSlope();
    Render();
    EXPECT_EQ(filled() > 0, draws);
    ResetFrame(state);
    EXPECT_EQ(filled(), 0);
  }
}

TEST_F(FrameChoices, TilesBelowTheGridArePassedOver) {
  DriverState& state = DriverStateInstance();
  AddSlope();
  Render();
  const std::vector<float> whole = depth;
  // As many tiles as the grid has, so that the deal stands: one lies far below in place of the lower right one.
  ASSERT_EQ(state.partitions.size(), 1u);
  std::int32_t* last = std::find(state.partitions[0].begin(), state.partitions[0].end(), 3);
  ASSERT_NE(last, state.partitions[0].end());
  *last = 100000;
  depth.assign(kSide * kSide, 1.0f);
  for (float& bound : state.hizTable) bound = 1.0f;
  Render();
  EXPECT_EQ(LatestFrameStats().macroTiles, 3u);
  for (std::size_t y = 0; y < kSide; ++y) {
    for (std::size_t x = 0; x < kSide; ++x) {
      const std::size_t i = y * kSide + x;
      ASSERT_EQ(depth[i], x >= 32 && y >= 32 ? 1.0f : whole[i]) << x << ' ' << y;
    }
  }
  state.partitions.clear();
}

TEST_F(FrameChoices, AFrameThatDrawsNothingNotesNothing) {
  AddSlope();
  Render();
  EXPECT_EQ(LatestFrameStats().activeTasks, 1);
  EXPECT_GT(LatestFrameStats().prepMs + LatestFrameStats().workersMs, 0.0);
  ResetFrame(DriverStateInstance());
  const FrameStats nothing = {};
  const std::uint64_t prepared = StageCountersInstance().counts[6].load();
  SetStageTiming(true);
  Render();
  EXPECT_EQ(std::memcmp(&LatestFrameStats(), &nothing, sizeof nothing), 0);
  AddSlope();
  Render();
  EXPECT_EQ(StageCountersInstance().counts[6].load(), prepared + 1);
  RenderFrameWith({}, {}, {});
  SetStageTiming(false);
  EXPECT_EQ(std::memcmp(&LatestFrameStats(), &nothing, sizeof nothing), 0);
  EXPECT_EQ(StageCountersInstance().counts[6].load(), prepared + 1);
}

TEST_F(FrameChoices, OnlyTheStageOfPreparationKeepsTheTasksFromRunning) {
  for (const std::int32_t cutoff : {-1, 2, 3, 4, 5, 6}) {
    AddSlope();
    RenderOptions options;
    options.cutoff = cutoff;
    Render({}, options);
    EXPECT_EQ(LatestFrameStats().participants, cutoff == 3 ? 0u : 1u) << cutoff;
  }
}

void SlowKernel(const KernelFrameArgs*, std::int32_t, std::int32_t, std::int32_t, std::int32_t, const std::uint32_t*,
                std::int32_t, float*) {
  const std::int64_t until = TicksNow() + TicksPerSecond() / 10000;
  while (TicksNow() < until) {
  }
}

TEST_F(FrameChoices, TheLongestTimesAreThoseOfOneTask) {
  AddSlope();
  Render({SlowKernel, 4});
  const FrameStats& stats = LatestFrameStats();
  EXPECT_EQ(stats.participants, 4u);
  EXPECT_GE(stats.longestRasterMs, stats.rasterMs / 4);
  EXPECT_LT(stats.longestRasterMs, stats.rasterMs * 0.9);  // four tasks of sixteen tiles each
  EXPECT_LE(stats.longestBinMs, stats.binMs);
  EXPECT_GE(stats.workersMs, stats.rasterMs);  // one after another, on this thread
  EXPECT_EQ(stats.spareMs, 0.0);
}

/// Tasks that began with themselves alone alive.
unsigned long long TasksAlone() {
  const std::string report = test::WrittenText(OccupancyReport);
  const std::size_t line = report.find("  N=  1 : ");
  return line == std::string::npos ? 0 : std::stoull(report.substr(line + 10));
}

TEST_F(FrameChoices, EachTaskIsCountedInAndOut) {
  AddSlope();
  const unsigned long long before = TasksAlone();
  Render({nullptr, 3});
  Render({nullptr, 2});
  EXPECT_EQ(TasksAlone(), before + 5);
}

}  // namespace
}  // namespace tlr2
