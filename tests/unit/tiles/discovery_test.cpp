// Discovery against its plain form: lists, walks and statistics.
#include "tiles/discovery.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "discovery_oracle.h"
#include "tiles/grid/grid.h"

namespace tlr2 {
namespace {

TriangleRecord Triangle(float x0, float y0, float x1, float y1, float x2, float y2) {
  TriangleRecord t = {};
  t.x[0] = x0, t.x[1] = x1, t.x[2] = x2;
  t.y[0] = y0, t.y[1] = y1, t.y[2] = y2;
  return t;
}

/// Triangles of all sizes, on and off a grid of `width` by `height`, some degenerate, on tile borders or wild.
std::vector<TriangleRecord> RandomTriangles(std::uint32_t seed, std::size_t count, int width, int height) {
  std::mt19937 rng(seed);
  const auto unit = [&] { return static_cast<float>(rng() >> 8) / 16777216.0f; };
  std::vector<TriangleRecord> out;
  const float kWild[] = {NAN, INFINITY, -INFINITY, 3e9f, -3e9f, 2147483648.0f, -2147483648.0f, 1e30f, -0.0f, 1e-40f};
  while (out.size() < count) {
    const float size = std::pow(2.0f, unit() * 12.0f - 2.0f);
    const float cx = (unit() * 1.4f - 0.2f) * static_cast<float>(width);
    const float cy = (unit() * 1.4f - 0.2f) * static_cast<float>(height);
    float v[6];
    for (int i = 0; i < 6; ++i) v[i] = (i % 2 == 0 ? cx : cy) + (unit() - 0.5f) * size;
    const std::uint32_t kind = rng() % 16;
    if (kind == 0) v[2] = v[0], v[3] = v[1];  // no area
    if (kind == 1)
      for (float& f : v) f = std::round(f / 8.0f) * 8.0f;  // on tile corners
    if (kind == 2)
      for (float& f : v) f = std::round(f);  // on pixels
    if (kind == 3) v[rng() % 6] = kWild[rng() % std::size(kWild)];
    if (kind == 4) v[4] = v[0] + (v[2] - v[0]) * 0.5f, v[5] = v[1] + (v[3] - v[1]) * 0.5f;  // nearly none
    out.push_back(Triangle(v[0], v[1], v[2], v[3], v[4], v[5]));
  }
  return out;
}

/// What a frame does before its tasks start.
void Deal(DriverState& state, std::int32_t tasks) {
  RebuildWorkerTilePartition(state, tasks);
  PlaceTileLists(state);
  for (TileEntryList& list : state.tileLists) list.clear();
}

/// The list of the micro tile that is number `tile` in screen order.
const TileEntryList& ListOf(const DriverState& state, std::size_t tile) {
  const auto at = static_cast<std::int32_t>(tile);
  return TileListOf(state, at % state.microCols, at / state.microCols);
}

void ExpectEqualCounts(const DiscoveryCounts& got, const DiscoveryCounts& want) {
  EXPECT_EQ(got.pickedByBox, want.pickedByBox);
  EXPECT_EQ(got.pickedByList, want.pickedByList);
  EXPECT_EQ(got.macrosVisitedByBox, want.macrosVisitedByBox);
  EXPECT_EQ(got.macrosSkippedByOwner, want.macrosSkippedByOwner);
  EXPECT_EQ(got.macrosVisitedByList, want.macrosVisitedByList);
  EXPECT_EQ(got.macrosSkippedByBox, want.macrosSkippedByBox);
  EXPECT_EQ(got.microsConsidered, want.microsConsidered);
  EXPECT_EQ(got.microsEdgeRejected, want.microsEdgeRejected);
  EXPECT_EQ(got.microsAccepted, want.microsAccepted);
}

struct GridSize {
  int width, height;
};

class DiscoveryOfSize : public testing::TestWithParam<GridSize> {};

TEST_P(DiscoveryOfSize, EqualsThePlainFormForEveryTaskCount) {
  const auto [width, height] = GetParam();
  const std::vector<TriangleRecord> triangles =
      RandomTriangles(static_cast<std::uint32_t>(width * 7 + height), 3001, width, height);
  DriverState state;
  ResizeTileGrid(state, width, height);
  for (const std::int32_t tasks : {1, 2, 3, 7, 64}) {
    Deal(state, tasks);
    std::vector<std::vector<std::uint32_t>> merged(state.tileLists.size());
    for (std::int32_t task = 0; task < tasks; ++task) {
      DiscoveryCounts counts = {};
      DiscoverTriangles(MakeDiscoveryGrid(state, task), triangles.data(), static_cast<std::uint32_t>(triangles.size()),
                        counts);
      const oracle::Result want = oracle::Discover(state, task, triangles);
      ExpectEqualCounts(counts, want.counts);
      EXPECT_EQ(counts.microsConsidered, counts.microsEdgeRejected + counts.microsAccepted);
      for (std::size_t i = 0; i < merged.size(); ++i)
        merged[i].insert(merged[i].end(), want.lists[i].begin(), want.lists[i].end());
    }
    for (std::size_t i = 0; i < merged.size(); ++i) {
      const TileEntryList& got = ListOf(state, i);
      ASSERT_EQ(std::vector<std::uint32_t>(got.begin(), got.end()), merged[i]) << "tile " << i << ", tasks " << tasks;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Grids, DiscoveryOfSize,
                         testing::Values(GridSize{640, 480}, GridSize{333, 211}, GridSize{33, 1}, GridSize{1, 1},
                                         GridSize{1000, 40}, GridSize{64, 64}));

/// Triangles with an edge through a tile's corner, all but for rounding: there the order of the sums decides.
std::vector<TriangleRecord> TrianglesThroughCorners(std::uint32_t seed, std::size_t count, int width, int height) {
  std::mt19937 rng(seed);
  const auto unit = [&] { return static_cast<float>(rng() >> 8) / 16777216.0f; };
  std::vector<TriangleRecord> out;
  while (out.size() < count) {
    const float x = static_cast<float>(8 * (rng() % static_cast<std::uint32_t>(width / 8)));
    const float y = static_cast<float>(8 * (rng() % static_cast<std::uint32_t>(height / 8)));
    const float x0 = unit() * static_cast<float>(width), y0 = unit() * static_cast<float>(height);
    const float reach = 1.0f + unit();
    out.push_back(Triangle(x0, y0, x0 + (x - x0) * reach, y0 + (y - y0) * reach, unit() * static_cast<float>(width),
                           unit() * static_cast<float>(height)));
  }
  return out;
}

TEST(Discovery, ListsHoldExactlyTheTilesThatTheStatedTestKeeps) {
  DriverState state;
  ResizeTileGrid(state, 300, 200);
  Deal(state, 5);
  std::vector<TriangleRecord> triangles = RandomTriangles(99, 600, 300, 200);
  const std::vector<TriangleRecord> close = TrianglesThroughCorners(5, 3000, 296, 200);
  triangles.insert(triangles.end(), close.begin(), close.end());
  for (const TriangleRecord& triangle : triangles) {
    for (TileEntryList& list : state.tileLists) list.clear();
    DiscoveryCounts counts = {};
    for (std::int32_t task = 0; task < 5; ++task)
      DiscoverTriangles(MakeDiscoveryGrid(state, task), &triangle, 1, counts);
    const std::vector<std::uint8_t> kept = oracle::KeptTiles(state, triangle);
    for (std::size_t i = 0; i < kept.size(); ++i) ASSERT_EQ(ListOf(state, i).size(), kept[i]) << i;
  }
}

std::size_t ListedTiles(DriverState& state, const TriangleRecord& triangle) {
  for (TileEntryList& list : state.tileLists) list.clear();
  DiscoveryCounts counts = {};
  for (std::size_t task = 0; task < state.partitions.size(); ++task)
    DiscoverTriangles(MakeDiscoveryGrid(state, static_cast<std::int32_t>(task)), &triangle, 1, counts);
  std::size_t listed = 0;
  for (const TileEntryList& list : state.tileLists) listed += list.size();
  return listed;
}

TEST(Discovery, MoreTasksThanAByteCountsKeepToTheirOwnTiles) {
  DriverState state;
  ResizeTileGrid(state, 1024, 640);
  constexpr std::int32_t kTasks = 300;  // over 640 macro tiles, so that small boxes ask the owner table
  Deal(state, kTasks);
  const std::vector<TriangleRecord> triangles = RandomTriangles(3, 200, 1024, 640);
  for (std::int32_t task = 0; task < kTasks; ++task) {
    DiscoveryCounts counts = {};
    DiscoverTriangles(MakeDiscoveryGrid(state, task), triangles.data(), static_cast<std::uint32_t>(triangles.size()),
                      counts);
    ExpectEqualCounts(counts, oracle::Discover(state, task, triangles).counts);
  }
}

TEST(Discovery, ATriangleOutsideTheGridEntersNoList) {
  DriverState state;
  ResizeTileGrid(state, 128, 96);
  Deal(state, 3);
  EXPECT_EQ(ListedTiles(state, Triangle(-30, 10, -5, 10, -5, 40)), 0u);
  EXPECT_EQ(ListedTiles(state, Triangle(130, 10, 180, 10, 150, 40)), 0u);
  EXPECT_EQ(ListedTiles(state, Triangle(10, -50, 30, -50, 20, -1)), 0u);
  EXPECT_EQ(ListedTiles(state, Triangle(10, 96, 30, 96, 20, 120)), 0u);
}

TEST(Discovery, ATriangleInsideOneMicroTileEntersOneList) {
  DriverState state;
  ResizeTileGrid(state, 128, 96);
  Deal(state, 3);
  EXPECT_EQ(ListedTiles(state, Triangle(17, 17, 23, 18, 19, 23)), 1u);
  EXPECT_EQ(TileListOf(state, 2, 2).size(), 1u);
}

TEST(Discovery, ADegenerateTriangleIsListedInItsWholeBox) {
  DriverState state;
  ResizeTileGrid(state, 128, 96);
  Deal(state, 3);
  // A diagonal line: edges would reject all tiles off the diagonal.
  EXPECT_EQ(ListedTiles(state, Triangle(0, 0, 64, 64, 32, 32)), 64u);
  // An area just past the constant rejects.
  EXPECT_LT(ListedTiles(state, Triangle(0, 0, 64, 64, 32, 32.01f)), 64u);
}

TEST(Discovery, ValuesThatFitNoIntegerDropTheUpperBoundOnly) {
  DriverState state;
  ResizeTileGrid(state, 64, 64);
  Deal(state, 1);
  // A maximum past the range converts to the least integer, so the box is empty; a minimum below it clips to 0.
  EXPECT_EQ(ListedTiles(state, Triangle(3e9f, 0, 0, 0, 0, 64)), 0u);
  EXPECT_GT(ListedTiles(state, Triangle(-3e9f, 0, 64, 0, 64, 64)), 0u);
}

TEST(Discovery, SmallBoxesWalkTheirTilesAndLargeOnesTheOwnedList) {
  DriverState state;
  ResizeTileGrid(state, 320, 320);  // 100 macro tiles
  Deal(state, 10);
  DiscoveryCounts counts = {};
  // Nine macro tiles are fewer than the ten owned.
  const TriangleRecord nine = Triangle(0, 0, 96, 0, 0, 96);
  DiscoverTriangles(MakeDiscoveryGrid(state, 0), &nine, 1, counts);
  EXPECT_EQ(counts.pickedByBox, 1u);
  EXPECT_EQ(counts.macrosVisitedByBox, 9u);
  // Ten are not.
  const TriangleRecord ten = Triangle(0, 0, 320, 0, 0, 32);
  counts = {};
  DiscoverTriangles(MakeDiscoveryGrid(state, 0), &ten, 1, counts);
  EXPECT_EQ(counts.pickedByList, 1u);
  EXPECT_EQ(counts.macrosVisitedByList, 10u);
}

TEST(DiscoveryStats, IndicesPastTheTableShareTheFirstRecord) {
  EXPECT_EQ(&DiscoveryRecord(0), &tileDiscoveryStats[0]);
  EXPECT_EQ(&DiscoveryRecord(2047), &tileDiscoveryStats[2047]);
  EXPECT_EQ(&DiscoveryRecord(2048), &tileDiscoveryStats[0]);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&tileDiscoveryStats[1]) % 128, 0u);
}

}  // namespace
}  // namespace tlr2
