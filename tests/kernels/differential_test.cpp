// Every kernel that this processor can run against the scalar form, over random calls, all bytes of both buffers.
//
// TLR2_KERNEL_TILES and TLR2_KERNEL_PILES set the numbers of calls a target, TLR2_KERNEL_SEED the first seed: with 1
// and the seed that a failure printed, that one call is made again.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "kernels_under_test.h"
#include "random_tile.h"
#include "scalar_kernel.h"

namespace tlr2::judge {
namespace {

std::uint64_t FromEnvironment(const char* name, std::uint64_t otherwise) {
  const char* text = std::getenv(name);
  return text ? std::strtoull(text, nullptr, 0) : otherwise;
}

struct Outcome {
  std::vector<std::uint32_t> color;
  std::vector<float> depth;
  float cell;
};

void Call(const RandomTile& tile, TileKernelFn kernel, Outcome& out) {
  out.color = tile.color;
  out.depth = tile.depth;
  out.cell = tile.hizCell;
  const KernelFrameArgs args = tile.Args(out.color.data(), out.depth.data());
  kernel(&args, tile.x0, tile.y0, tile.x1, tile.y1, tile.entries.data(), tile.entryCount, &out.cell);
}

/// A clear of one buffer, the other one, or both, by the call's number; and what it leaves of the tile.
TileClears MakeClears(std::uint64_t seed) {
  constexpr std::uint32_t kDepths[] = {0x3F800000u, 0x3F000000u, 0u,         0x80000000u,
                                       0xBF800000u, 0x7F800000u, 0x7FC00000u};
  TileClears clears;
  clears.color = seed % 3 != 0;
  clears.depth = seed % 3 != 1;
  clears.colorValue = static_cast<std::uint32_t>(seed * 0x9E3779B9u);
  clears.depthBits = kDepths[seed / 3 % 16 < std::size(kDepths) ? seed / 3 % 16 : 0];
  return clears;
}

void ClearTile(RandomTile& tile, const TileClears& clears) {
  for (std::int32_t y = tile.y0; y < tile.y1; ++y) {
    for (std::int32_t x = tile.x0; x < tile.x1; ++x) {
      const auto column = static_cast<std::size_t>(x - tile.originX), row = static_cast<std::size_t>(y - tile.originY);
      if (clears.color) tile.color[kGuardWords + row * tile.colorStride + column] = clears.colorValue;
      if (clears.depth)
        std::memcpy(&tile.depth[kGuardWords + row * tile.depthStride + column], &clears.depthBits, sizeof(float));
    }
  }
}

void CallClearing(const RandomTile& tile, ClearingTileKernelFn kernel, const TileClears& clears, Outcome& out) {
  out.color = tile.color;
  out.depth = tile.depth;
  out.cell = tile.hizCell;
  const KernelFrameArgs args = tile.Args(out.color.data(), out.depth.data());
  kernel(&args, tile.x0, tile.y0, tile.x1, tile.y1, tile.entries.data(), tile.entryCount, &out.cell, &clears);
}

std::string Place(const RandomTile& tile, std::size_t word, std::uint32_t stride) {
  if (word < kGuardWords) return "ahead of the buffer";
  const std::size_t at = word - kGuardWords;
  const std::size_t x = static_cast<std::size_t>(tile.originX) + at % stride;
  const std::size_t y = static_cast<std::size_t>(tile.originY) + at / stride;
  char text[64];
  std::snprintf(text, sizeof text, "pixel (%u, %u)", static_cast<unsigned>(x), static_cast<unsigned>(y));
  return text;
}

/// The first difference in words, empty for none.
template <typename Word>
std::string Difference(const RandomTile& tile, const char* what, const std::vector<Word>& expected,
                       const std::vector<Word>& actual, std::uint32_t stride) {
  if (std::memcmp(expected.data(), actual.data(), expected.size() * sizeof(Word)) == 0) return {};
  for (std::size_t i = 0; i < expected.size(); ++i) {
    std::uint32_t left;
    std::uint32_t right;
    std::memcpy(&left, &expected[i], 4);
    std::memcpy(&right, &actual[i], 4);
    if (left == right) continue;
    char text[160];
    std::snprintf(text, sizeof text, "%s at %s: scalar %08X, kernel %08X\n", what, Place(tile, i, stride).c_str(),
                  static_cast<unsigned>(left), static_cast<unsigned>(right));
    return text;
  }
  return {};
}

std::string Compare(const RandomTile& tile, const Outcome& expected, const Outcome& actual) {
  std::string text = Difference(tile, "colour", expected.color, actual.color, tile.colorStride) +
                     Difference(tile, "depth", expected.depth, actual.depth, tile.depthStride);
  if (std::memcmp(&expected.cell, &actual.cell, 4) != 0) {
    char line[96];
    std::snprintf(line, sizeof line, "cell: scalar %.9g, kernel %.9g\n", static_cast<double>(expected.cell),
                  static_cast<double>(actual.cell));
    text += line;
  }
  return text;
}

class Differential : public testing::TestWithParam<KernelUnderTest> {};

void CompareRandomCalls(const KernelUnderTest& kernel, void (*make)(std::uint64_t, RandomTile&), std::uint64_t count) {
  const std::uint64_t first = FromEnvironment("TLR2_KERNEL_SEED", 1);
  RandomTile tile;
  Outcome expected;
  Outcome actual;
  std::uint64_t failures = 0;
  for (std::uint64_t seed = first; seed < first + count; ++seed) {
    make(seed, tile);
    Call(tile, kernel.scalar, expected);
    Call(tile, kernel.run, actual);
    const std::string difference = Compare(tile, expected, actual);
    if (difference.empty()) continue;
    ADD_FAILURE() << kernel.name << "\n" << difference << tile.Describe();
    if (++failures == 3) FAIL() << "stopped after three different calls";
  }
  EXPECT_GE(count, 1u);
}

TEST_P(Differential, EqualsTheScalarFormInEveryByte) {
  if (!GetParam().supported()) GTEST_SKIP() << "SKIPPED " << GetParam().name;
  CompareRandomCalls(GetParam(), MakeRandomTile, FromEnvironment("TLR2_KERNEL_TILES", 110000));
}

TEST_P(Differential, EqualsTheScalarFormWhereTrianglesHideEachOther) {
  if (!GetParam().supported()) GTEST_SKIP() << "SKIPPED " << GetParam().name;
  CompareRandomCalls(GetParam(), MakeRandomPile, FromEnvironment("TLR2_KERNEL_PILES", 12000));
}

TEST_P(Differential, EqualsTheScalarFormWhereOneTriangleHidesAllBefore) {
  if (!GetParam().supported()) GTEST_SKIP() << "SKIPPED " << GetParam().name;
  CompareRandomCalls(GetParam(), MakeRandomCover, FromEnvironment("TLR2_KERNEL_PILES", 12000) * 4);
}

TEST_P(Differential, EqualsTheScalarFormWhereProductsLeaveTheFloats) {
  if (!GetParam().supported()) GTEST_SKIP() << "SKIPPED " << GetParam().name;
  CompareRandomCalls(GetParam(), MakeRandomHuge, FromEnvironment("TLR2_KERNEL_PILES", 12000) * 2);
}

/// The clearing form on a tile of anything, against the scalar form on the same tile cleared before.
void CompareClearing(const KernelUnderTest& kernel, void (*make)(std::uint64_t, RandomTile&), std::uint64_t count) {
  const std::uint64_t first = FromEnvironment("TLR2_KERNEL_SEED", 1);
  RandomTile tile;
  Outcome expected;
  Outcome actual;
  for (std::uint64_t seed = first; seed < first + count; ++seed) {
    make(seed, tile);
    const TileClears clears = MakeClears(seed);
    CallClearing(tile, kernel.clearing, clears, actual);
    ClearTile(tile, clears);
    Call(tile, kernel.scalar, expected);
    const std::string difference = Compare(tile, expected, actual);
    ASSERT_EQ(difference, "") << kernel.name << " clears " << clears.color << clears.depth << "\n" << tile.Describe();
  }
  EXPECT_GE(count, 1u);
}

TEST_P(Differential, ClearsAsIfTheTileHadBeenClearedBefore) {
  if (!GetParam().supported()) GTEST_SKIP() << "SKIPPED " << GetParam().name;
  CompareClearing(GetParam(), MakeRandomTile, FromEnvironment("TLR2_KERNEL_TILES", 110000) / 4);
  CompareClearing(GetParam(), MakeRandomPile, FromEnvironment("TLR2_KERNEL_PILES", 12000) / 4);
  CompareClearing(GetParam(), MakeRandomCover, FromEnvironment("TLR2_KERNEL_PILES", 12000) / 4);
}

TEST_P(Differential, ClearsATileThatNothingIsDrawnInto) {
  if (!GetParam().supported()) GTEST_SKIP() << "SKIPPED " << GetParam().name;
  const auto makeEmpty = [](std::uint64_t seed, RandomTile& tile) {
    MakeRandomTile(seed, tile);
    tile.entries.clear();
    tile.entryCount = 0;
  };
  CompareClearing(GetParam(), makeEmpty, 200);
}

INSTANTIATE_TEST_SUITE_P(Targets, Differential, testing::ValuesIn(RealKernels().begin(), RealKernels().end()),
                         [](const auto& chosen) { return std::string(chosen.param.name); });

// -- The random calls reach what they are for -----------------------------------------------------------------------

struct Reach {
  ScalarTrace trace;
  std::uint64_t changedTiles = 0;
  std::uint64_t changedCells = 0;
};

Reach ReachOf(int lanes, bool fused, std::uint64_t count) {
  Reach reach;
  RandomTile tile;
  for (std::uint64_t seed = 1; seed <= count; ++seed) {
    MakeRandomTile(seed, tile);
    std::vector<std::uint32_t> color = tile.color;
    std::vector<float> depth = tile.depth;
    float cell = tile.hizCell;
    const KernelFrameArgs args = tile.Args(color.data(), depth.data());
    ScalarTileKernel(&args, tile.x0, tile.y0, tile.x1, tile.y1, tile.entries.data(), tile.entryCount, &cell, lanes,
                     fused, &reach.trace);
    if (color != tile.color) ++reach.changedTiles;
    if (cell < tile.hizCell) ++reach.changedCells;
  }
  return reach;
}

TEST(RandomTiles, ReachEveryBranchOften) {
  constexpr std::uint64_t kCount = 12000;
  const Reach reach = ReachOf(16, true, kCount);
  const ScalarTrace& trace = reach.trace;
  EXPECT_GT(reach.changedTiles, kCount / 2);
  EXPECT_GT(reach.changedCells, kCount / 50);
  EXPECT_GT(trace.scanAccepted, kCount / 50);
  EXPECT_GT(trace.scanSkipped, kCount / 10);
  EXPECT_GT(trace.zeroArea, kCount / 100);
  EXPECT_GT(trace.noLiveLane, kCount / 2);
  EXPECT_GT(trace.centresWithinBias, kCount / 20);
  EXPECT_GT(trace.alphaRejected, kCount);
  EXPECT_GT(trace.depthsStored, 5 * kCount);
  for (std::size_t planes = 1; planes <= 4; ++planes) EXPECT_GT(trace.planesShaded[planes], kCount / 50) << planes;
  for (std::size_t func = 0; func < 7; ++func) EXPECT_GT(trace.liveByDepthFunc[func], kCount / 40) << func;
  EXPECT_EQ(trace.liveByDepthFunc[7], 0u);
  EXPECT_EQ(trace.liveByDepthFunc[8], 0u);
  for (std::size_t mode = 0; mode < 5; ++mode) EXPECT_GT(trace.liveByBlend[mode], kCount) << mode;
  for (std::size_t env = 0; env < 6; ++env) EXPECT_GT(trace.liveByTexture[env], kCount / 50) << env;
  for (std::size_t filter = 0; filter < 3; ++filter) EXPECT_GT(trace.sampledByFilter[filter], kCount / 4) << filter;
  for (std::size_t level = 0; level < 8; ++level) EXPECT_GT(trace.sampledByLevel[level], kCount / 20) << level;
  EXPECT_GT(trace.sampledByLevel[15], kCount / 20);
  EXPECT_GT(trace.sampledPastChain, kCount);
}

TEST(RandomTiles, TheVariantsOfTheScalarFormDifferSomewhere) {
  // Fused arithmetic and the lane count both show in some bytes: else a target could be held to the wrong variant.
  RandomTile tile;
  int byFusing = 0;
  int byLanes = 0;
  const std::span<const KernelUnderTest> kernels = AllKernels();
  Outcome eight;
  Outcome sixteen;
  Outcome fused;
  for (std::uint64_t seed = 1; seed <= 4000; ++seed) {
    MakeRandomTile(seed, tile);
    Call(tile, kernels[0].run, eight);
    Call(tile, kernels[1].run, sixteen);
    Call(tile, kernels[2].run, fused);
    if (!Compare(tile, sixteen, fused).empty()) ++byFusing;
    if (!Compare(tile, eight, sixteen).empty()) ++byLanes;
    if (tile.kernelMode != 1) {
      EXPECT_EQ(Compare(tile, eight, sixteen), "") << "only the statistic depends on the number of lanes";
    }
  }
  EXPECT_GT(byFusing, 40);
  EXPECT_GT(byLanes, 40);
}

TEST(RandomTiles, TheSameSeedMakesTheSameCall) {
  RandomTile once;
  RandomTile again;
  Outcome left;
  Outcome right;
  for (std::uint64_t seed = 1; seed <= 200; ++seed) {
    MakeRandomTile(seed, once);
    MakeRandomTile(seed + 1, again);
    MakeRandomTile(seed, again);
    EXPECT_EQ(once.Describe(), again.Describe());
    Call(once, AllKernels()[2].run, left);
    Call(again, AllKernels()[2].run, right);
    EXPECT_EQ(Compare(once, left, right), "");
  }
}

}  // namespace
}  // namespace tlr2::judge
