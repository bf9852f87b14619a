// The deal of macro tiles: sizes, owners, the fixed shuffle, and no allocation once it has been dealt.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "allocation_counter.h"
#include "tiles/grid/grid.h"

namespace tlr2 {
namespace {

DriverState MacroGrid(std::int32_t columns, std::int32_t rows) {
  DriverState state;
  state.macroCols = columns;
  state.macroRows = rows;
  return state;
}

// The shuffle as told: a walk from the top with a 64-bit generator that starts anew each time.
std::vector<std::int32_t> WrittenApart(std::size_t count) {
  std::vector<std::int32_t> order(count);
  std::iota(order.begin(), order.end(), 0);
  unsigned long long x = 0x9E3779B97F4A7C15ull;
  for (std::size_t left = count; left > 1; --left) {
    x = x ^ (x << 13);
    x = x ^ (x >> 7);
    x = x ^ (x << 17);
    const auto other = static_cast<std::size_t>(x % left);
    std::swap(order[left - 1], order[other]);
  }
  return order;
}

std::vector<std::int32_t> Joined(const DriverState& state) {
  std::vector<std::int32_t> all;
  for (const WorkerPartition& partition : state.partitions) all.insert(all.end(), partition.begin(), partition.end());
  return all;
}

TEST(Partition, TenTilesForFourTasksAreThreeThreeTwoTwo) {
  DriverState state = MacroGrid(5, 2);
  RebuildWorkerTilePartition(state, 4);
  ASSERT_EQ(state.partitions.size(), 4u);
  EXPECT_EQ(state.partitions[0].size(), 3u);
  EXPECT_EQ(state.partitions[1].size(), 3u);
  EXPECT_EQ(state.partitions[2].size(), 2u);
  EXPECT_EQ(state.partitions[3].size(), 2u);
}

TEST(Partition, DealsTheFixedShuffleInOrder) {
  for (std::int32_t tiles : {1, 2, 3, 10, 300, 920, 4096}) {
    for (std::int32_t tasks : {1, 2, 7, 64}) {
      DriverState state = MacroGrid(tiles, 1);
      RebuildWorkerTilePartition(state, tasks);
      EXPECT_EQ(Joined(state), WrittenApart(static_cast<std::size_t>(tiles))) << tiles << " for " << tasks;
    }
  }
}

TEST(Partition, EveryTileHasItsOwner) {
  DriverState state = MacroGrid(20, 15);
  RebuildWorkerTilePartition(state, 7);
  ASSERT_EQ(state.macroOwner.size(), 300u);
  for (std::size_t w = 0; w < state.partitions.size(); ++w) {
    for (std::int32_t tile : state.partitions[w]) EXPECT_EQ(state.macroOwner[static_cast<std::size_t>(tile)], w);
  }
}

TEST(Partition, FewerThanOneTaskCountsAsOne) {
  DriverState state = MacroGrid(3, 3);
  RebuildWorkerTilePartition(state, 0);
  EXPECT_EQ(state.partitions.size(), 1u);
  RebuildWorkerTilePartition(state, -5);
  EXPECT_EQ(state.partitions.size(), 1u);
  EXPECT_EQ(state.partitions[0].size(), 9u);
}

TEST(Partition, MoreTasksThanTilesLeavesSomeEmpty) {
  DriverState state = MacroGrid(2, 1);
  RebuildWorkerTilePartition(state, 5);
  ASSERT_EQ(state.partitions.size(), 5u);
  EXPECT_EQ(state.partitions[1].size(), 1u);
  EXPECT_TRUE(state.partitions[2].empty());
}

TEST(Partition, AnEmptyGridDealsNothing) {
  DriverState state = MacroGrid(0, 0);
  RebuildWorkerTilePartition(state, 3);
  EXPECT_EQ(state.partitions.size(), 3u);
  EXPECT_TRUE(Joined(state).empty());
  EXPECT_TRUE(state.macroOwner.empty());
}

TEST(Partition, StandsWhileTaskCountAndTilesStay) {
  DriverState state = MacroGrid(4, 4);
  RebuildWorkerTilePartition(state, 3);
  std::swap(state.partitions[0][0], state.partitions[0][1]);  // would be put right by a rebuild
  const std::vector<std::int32_t> marked = Joined(state);
  RebuildWorkerTilePartition(state, 3);
  EXPECT_EQ(Joined(state), marked);
  RebuildWorkerTilePartition(state, 2);
  EXPECT_EQ(Joined(state), WrittenApart(16));
}

TEST(Partition, RebuildsForAnotherTileCount) {
  DriverState state = MacroGrid(4, 4);
  RebuildWorkerTilePartition(state, 3);
  state.macroCols = 5;
  RebuildWorkerTilePartition(state, 3);
  EXPECT_EQ(Joined(state), WrittenApart(20));
  EXPECT_EQ(state.macroOwner.size(), 20u);
}

TEST(Partition, AReplaysDealAndARendersDealAllocateNothingInTurn) {
  DriverState state = MacroGrid(40, 23);
  for (int warm = 0; warm < 2; ++warm) {
    RebuildWorkerTilePartition(state, 1);
    RebuildWorkerTilePartition(state, 6);
  }
  const auto before = test::allocations.load();
  for (int frame = 0; frame < 10; ++frame) {
    RebuildWorkerTilePartition(state, 1);
    RebuildWorkerTilePartition(state, 6);
  }
  EXPECT_EQ(test::allocations.load(), before);
  EXPECT_EQ(Joined(state), WrittenApart(920));
}

TEST(ListPlaces, AWarmFrameAllocatesNothing) {
  DriverState state;
  ResizeTileGrid(state, 640, 480);
  const auto dealInTurn = [&] {
    RestoreTileGrid(state);
    RebuildWorkerTilePartition(state, 3);
    PlaceTileLists(state);
  };
  dealInTurn();
  const auto before = test::allocations.load();
  for (int frame = 0; frame < 10; ++frame) dealInTurn();
  EXPECT_EQ(test::allocations.load(), before);
}

TEST(Grid, AWarmFramesResetAllocatesNothing) {
  DriverState state;
  CoverViewport(state, 640, 480);
  ResetFrame(state);
  const auto before = test::allocations.load();
  for (int frame = 0; frame < 10; ++frame) {
    for (TileEntryList& list : state.tileLists) {
      for (std::uint32_t i = 0; i < 8; ++i) list.push_back(i);
    }
    state.listsFilled = 1;
    CoverViewport(state, 640, 480);
    ResetFrame(state);
  }
  EXPECT_EQ(test::allocations.load(), before);
}

}  // namespace
}  // namespace tlr2
