// Frames that the kernels clear, against the same frames over buffers that were cleared before.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "api/state/driver_state.h"
#include "base/fill.h"
#include "settings/settings.h"
#include "tiles/frame_tasks.h"
#include "tiles/grid/grid.h"
#include "tiles/runtime_config.h"

namespace tlr2 {
namespace {

/// Buffers of a surface, with guard words behind every row of colours and behind the depths.
struct Buffers {
  static constexpr std::size_t kPadding = 5;
  std::int32_t width, height;
  std::vector<std::uint32_t> color, depth;
  std::vector<float> bounds;

  Buffers(std::int32_t w, std::int32_t h)
      : width(w),
        height(h),
        color((static_cast<std::size_t>(w) + kPadding) * static_cast<std::size_t>(h)),
        depth(static_cast<std::size_t>(w) * static_cast<std::size_t>(h) + kPadding) {
    for (std::size_t i = 0; i < color.size(); ++i) color[i] = static_cast<std::uint32_t>(i) * 0x9E3779B9u;
    for (std::size_t i = 0; i < depth.size(); ++i)
      depth[i] = 0x3E800000u + static_cast<std::uint32_t>(i % 977) * 0x4001u;
  }
  std::size_t Pitch() const { return static_cast<std::size_t>(width) + kPadding; }
  void Clear(const TileClears& clears) {
    if (clears.color) {
      for (std::int32_t y = 0; y < height; ++y)
        FillWords(color.data() + static_cast<std::size_t>(y) * Pitch(), clears.colorValue,
                  static_cast<std::size_t>(width));
    }
    if (clears.depth) FillWords(depth.data(), clears.depthBits, depth.size() - kPadding);
  }
  void Render(const RenderOptions& options, std::int32_t tasks) {
    RenderFrameWith(
        {reinterpret_cast<float*>(depth.data()), color.data(), width, height, static_cast<std::uint32_t>(Pitch() * 4)},
        options, {nullptr, tasks});
    const auto& table = DriverStateInstance().hizTable;
    bounds.assign(table.begin(), table.end());
  }
};

/// Some opaque, some blended, some alpha-tested, with all depth functions; the first of a tile is of any sort.
void AddTriangles(std::uint32_t seed, std::int32_t width, std::int32_t height) {
  const auto next = [&seed](float low, float high) {
    seed = seed * 1664525u + 1013904223u;
    return low + (high - low) * static_cast<float>(seed >> 8) * 0x1p-24f;
  };
  const auto below = [&](float n) { return static_cast<std::uint32_t>(next(0, n)); };
  DriverStateInstance().triangles.clear();
  const float w = static_cast<float>(width), h = static_cast<float>(height);
  for (int i = 0; i < 9; ++i) {
    const float size = i == 4 ? 4.0f : 0.5f;
    TriangleRecord t = {};
    t.textureIndex = kNoTexture;
    t.zMin = 3.0f;
    t.zMax = -3.0f;
    for (int v = 0; v < 3; ++v) {
      t.x[v] = next(-size, 1 + size) * w;
      t.y[v] = next(-size, 1 + size) * h;
      t.z[v] = next(-0.2f, 1.2f);
      t.zMin = std::fmin(t.zMin, t.z[v]);
      t.zMax = std::fmax(t.zMax, t.z[v]);
      t.invW[v] = 1.0f;
      t.color[v] = 0x01010101u * below(256) + 0x90000000u;
    }
    t.depthTest = below(4) != 0;
    t.depthWrite = below(3) != 0;
    t.depthFunc = below(2) != 0 ? 2 : below(9);
    t.blendMode = below(2) != 0 ? 0 : below(4);
    t.alphaTest = below(4) == 0;
    DriverStateInstance().triangles.push_back(t);
  }
}

class Clears : public testing::Test {
 protected:
  void SetUp() override {
    ResetFrame(DriverStateInstance());
    Settings().forceIsa = 0;
    Settings().workerLimit = 0;
  }
  void TearDown() override { SetUp(); }

  static void SetBounds(float bound) {
    for (float& b : DriverStateInstance().hizTable) b = bound;
  }
};

TEST_F(Clears, LeaveWhatClearsBeforeTheFrameLeaveOnEverySizeAndTarget) {
  constexpr std::int32_t kSizes[][4] = {{61, 37, 61, 37}, {64, 64, 61, 37},  {61, 37, 64, 64}, {7, 3, 7, 3},
                                        {33, 9, 1, 1},    {100, 70, 96, 66}, {8, 4, 8, 5},     {96, 66, 100, 66}};
  const float nan = std::numeric_limits<float>::quiet_NaN(), infinity = std::numeric_limits<float>::infinity();
  const float depths[] = {1.0f, 0.5f, 0.0f, -0.0f, -0.25f, 1e-42f, infinity, -infinity, nan};
  std::uint32_t seed = 1, changed = 0;
  for (const auto& [gridWidth, gridHeight, width, height] : kSizes) {
    ResizeTileGrid(DriverStateInstance(), gridWidth, gridHeight);
    for (const std::int32_t isa : {1, 2, 3, 4}) {
      if (!IsaSupported(isa - 1)) continue;
      Settings().forceIsa = isa;
      for (const float clearDepth : depths) {
        for (int which = 1; which <= 3; ++which, ++seed) {
          TileClears clears = {(which & 1) != 0, (which & 2) != 0, seed * 0x9E3779B9u, 0};
          std::memcpy(&clears.depthBits, &clearDepth, sizeof clearDepth);
          RenderOptions options;
          if (seed % 7 == 0) options.binOnly = 1;
          if (seed % 11 == 0) options.cutoff = 3;
          DriverState& state = DriverStateInstance();
          Buffers before(width, height), byFrame(width, height);
          AddTriangles(seed, width, height);

          SetBounds(clears.depth ? clearDepth : 1.0f);
          before.Clear(clears);
          const Buffers cleared = before;
          before.Render(options, 1 + static_cast<std::int32_t>(seed % 3));

          SetBounds(1.0f);
          state.pendingColorClear = clears.color;
          state.pendingColorClearValue = clears.colorValue;
          state.pendingDepthClear = clears.depth;
          state.pendingDepthClearValue = clearDepth;
          byFrame.Render(options, 1 + static_cast<std::int32_t>(seed % 3));

          changed += before.color != cleared.color && before.depth != cleared.depth ? 1 : 0;
          ASSERT_EQ(byFrame.color, before.color) << seed;
          ASSERT_EQ(byFrame.depth, before.depth) << seed;
          ASSERT_EQ(std::memcmp(byFrame.bounds.data(), before.bounds.data(), before.bounds.size() * sizeof(float)), 0);
        }
      }
    }
  }
  EXPECT_GT(changed, seed / 3);
}

}  // namespace
}  // namespace tlr2
