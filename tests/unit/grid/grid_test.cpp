// The tile grid: counts, growth, tables, status line, reset.
#include "tiles/grid/grid.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "settings/stage_counters.h"
#include "settings/status.h"
#include "support_state.h"

namespace tlr2 {
namespace {

TEST(Grid, StartsWithNoTilesAndSaysSo) {
  const DriverState state;
  EXPECT_EQ(state.microCols, 0);
  EXPECT_EQ(state.macroRows, 0);
  EXPECT_TRUE(state.tileLists.empty());
  EXPECT_TRUE(state.partitions.empty());
}

TEST(Grid, CountsBothTileSizesFromPixels) {
  DriverState state;
  ResizeTileGrid(state, 1000, 1000);
  EXPECT_EQ(state.microCols, 125);
  EXPECT_EQ(state.microRows, 125);
  EXPECT_EQ(state.macroCols, 32);
  EXPECT_EQ(state.macroRows, 32);
  EXPECT_EQ(state.tileLists.size(), 125u * 125u);
  EXPECT_EQ(state.hizTable.size(), 125u * 125u);
}

TEST(Grid, WidthThirtyThreeHasASecondMacroColumnOfOneMicroColumn) {
  DriverState state;
  ResizeTileGrid(state, 33, 8);
  EXPECT_EQ(state.macroCols, 2);
  EXPECT_EQ(state.microCols, 5);
  EXPECT_EQ(state.microRows, 1);
  EXPECT_EQ(state.macroRows, 1);
}

TEST(Grid, CountsFollowTheShiftsForEverySmallSize) {
  for (std::int32_t size = 1; size <= 130; ++size) {
    DriverState state;
    ResizeTileGrid(state, size, 1);
    EXPECT_EQ(state.microCols, (size + 7) / 8);
    EXPECT_EQ(state.macroCols, (size + 31) / 32);
  }
}

TEST(Grid, StatusLineNamesTheBuiltGrid) {
  DriverState state;
  ResizeTileGrid(state, 1000, 600);
  EXPECT_STREQ(framebufferStatusLine, "[TLR2 framebuffer = 1000x600 (32x19 macro, 125x75 micro tiles)]");
}

TEST(Grid, EveryListHoldsEightEntriesWithoutGrowing) {
  DriverState state;
  ResizeTileGrid(state, 64, 40);
  for (const TileEntryList& list : state.tileLists) {
    EXPECT_TRUE(list.empty());
    EXPECT_GE(list.capacity(), 8u);
  }
}

TEST(Grid, ReservesTheFramesVectors) {
  DriverState state;
  state.triangles.push_back(test::Triangle(7));
  ResizeTileGrid(state, 8, 8);
  EXPECT_EQ(state.triangles.capacity(), 65536u);
  ASSERT_EQ(state.triangles.size(), 1u) << "records that are there are copied";
  EXPECT_EQ(state.triangles[0].textureIndex, 7u);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(state.triangles.data()) % 32, 0u);
  EXPECT_EQ(state.packetVertices.capacity(), 65536u);
  EXPECT_EQ(state.packets.capacity(), 4096u);
}

TEST(Grid, SameSizeKeepsListsBoundsAndPartitions) {
  DriverState state;
  ResizeTileGrid(state, 64, 64);
  RebuildWorkerTilePartition(state, 2);
  state.hizTable[3] = 0.25f;
  state.tileLists[3].push_back(9);
  ResizeTileGrid(state, 64, 64);
  EXPECT_EQ(state.hizTable[3], 0.25f);
  EXPECT_EQ(state.tileLists[3].size(), 1u);
  EXPECT_EQ(state.partitions.size(), 2u);
}

TEST(Grid, TheStoredSizeIsBuiltWhereNoListsAre) {
  DriverState state;
  state.fbWidth = state.fbHeight = 64;
  ResizeTileGrid(state, 64, 64);
  EXPECT_EQ(state.tileLists.size(), 64u);
  EXPECT_EQ(state.microCols, 8);
}

TEST(Grid, ARealResizeSetsEveryBoundToOneAndEmptiesLists) {
  DriverState state;
  ResizeTileGrid(state, 64, 64);
  for (float& bound : state.hizTable) bound = 0.25f;
  state.tileLists[3].push_back(9);
  ResizeTileGrid(state, 64, 72);
  EXPECT_EQ(state.hizTable.size(), 72u);
  for (float bound : state.hizTable) EXPECT_EQ(bound, 1.0f);
  for (const TileEntryList& list : state.tileLists) EXPECT_TRUE(list.empty());
}

TEST(Grid, SurvivingListsKeepTheirStorage) {
  DriverState state;
  ResizeTileGrid(state, 64, 64);
  state.tileLists[0].reserve(1000);
  state.tileLists[0].push_back(7);
  ResizeTileGrid(state, 32, 32);
  EXPECT_EQ(state.tileLists.size(), 16u);
  EXPECT_EQ(state.tileLists[0].capacity(), 1000u);
  EXPECT_TRUE(state.tileLists[0].empty());
}

TEST(Grid, AfterAResizeTheFirstPartitionRebuildAlwaysHappens) {
  DriverState state;
  ResizeTileGrid(state, 64, 64);
  RebuildWorkerTilePartition(state, 2);
  ResizeTileGrid(state, 64, 60);  // as many macro tiles as before
  EXPECT_TRUE(state.partitions.empty());
  RebuildWorkerTilePartition(state, 2);
  EXPECT_EQ(state.partitions.size(), 2u);
}

TEST(Grid, ViewportLargerOnOneAxisKeepsTheOther) {
  DriverState state;
  CoverViewport(state, 640, 480);
  CoverViewport(state, 320, 600);
  EXPECT_EQ(state.fbWidth, 640);
  EXPECT_EQ(state.fbHeight, 600);
  CoverViewport(state, 2000, 100);
  EXPECT_EQ(state.fbWidth, 2000);
  EXPECT_EQ(state.fbHeight, 600);
}

TEST(Grid, SmallerViewportLeavesTheGrid) {
  DriverState state;
  CoverViewport(state, 640, 480);
  state.hizTable[0] = 0.5f;
  CoverViewport(state, 320, 200);
  EXPECT_EQ(state.fbWidth, 640);
  EXPECT_EQ(state.fbHeight, 480);
  EXPECT_EQ(state.hizTable[0], 0.5f);
}

TEST(Grid, AViewportWithoutAGridSizesItWhateverTheStoredSizeIs) {
  DriverState state;
  state.fbWidth = 640;
  state.fbHeight = 480;
  CoverViewport(state, 320, 200);
  EXPECT_EQ(state.fbWidth, 320);
  EXPECT_EQ(state.fbHeight, 200);
}

TEST(Grid, SizesWithoutPixelsHaveNoTiles) {
  for (const auto& [width, height] : {std::pair{0, 0}, {-100, -100}, {-100, 50}, {50, 0}}) {
    DriverState state;
    CoverViewport(state, width, height);
    EXPECT_TRUE(state.tileLists.empty());
    RebuildWorkerTilePartition(state, 2);
    EXPECT_TRUE(state.macroOwner.empty() || state.macroCols * state.macroRows > 0);
    CoverViewport(state, 64, 64);
    EXPECT_EQ(state.tileLists.size(), 64u);
  }
}

TEST(Grid, AbsurdSizesFailWithTheLengthErrorAndChangeNothing) {
  DriverState state;
  CoverViewport(state, 64, 64);
  EXPECT_THROW(CoverViewport(state, 0x7FFFFFFF, 0x7FFFFFFF), std::length_error);
  EXPECT_EQ(state.fbWidth, 64);
  EXPECT_EQ(state.microCols, 8);
  EXPECT_EQ(state.tileLists.size(), 64u);
}

TEST(Grid, RestoreOfASmallerSizeKeepsTheLargerTables) {
  DriverState state;
  CoverViewport(state, 64, 64);
  state.hizTable[0] = 0.5f;
  state.fbWidth = state.fbHeight = 32;
  state.microCols = state.microRows = 4;
  state.macroCols = state.macroRows = 1;
  RestoreTileGrid(state);
  EXPECT_EQ(state.tileLists.size(), 64u);
  EXPECT_EQ(state.hizTable[0], 0.5f);
  ASSERT_EQ(state.partitions.size(), 1u);
  EXPECT_EQ(state.partitions[0].size(), 1u);
}

TEST(Grid, RestoreOfALargerSizeMakesTheTablesFit) {
  DriverState state;
  CoverViewport(state, 32, 32);
  state.fbWidth = 640;
  state.fbHeight = 480;
  state.microCols = 3;  // what a damaged file may say
  RestoreTileGrid(state);
  EXPECT_EQ(state.microCols, 80);
  EXPECT_EQ(state.tileLists.size(), 80u * 60u);
  EXPECT_EQ(state.hizTable.size(), 80u * 60u);
  EXPECT_EQ(state.macroOwner.size(), 20u * 15u);
}

TEST(Grid, RestoreOfDamagedCountsFollowsTheSize) {
  DriverState state;
  CoverViewport(state, 64, 64);
  state.microCols = 0x7FFFFFFF;
  state.microRows = -5;
  state.macroCols = 1000;
  state.macroRows = 1000;
  RestoreTileGrid(state);
  EXPECT_EQ(state.microCols, 8);
  EXPECT_EQ(state.microRows, 8);
  EXPECT_EQ(state.macroCols, 2);
  EXPECT_EQ(state.macroRows, 2);
  EXPECT_EQ(state.tileLists.size(), 64u);
}

TEST(Grid, RestoreOfAnAbsurdSizeFailsAndNamesNoTiles) {
  DriverState state;
  CoverViewport(state, 64, 64);
  state.fbWidth = 8;
  state.fbHeight = 0x7FFFFFFF;
  EXPECT_THROW(RestoreTileGrid(state), std::length_error);
  EXPECT_EQ(state.fbHeight, 0);
  EXPECT_EQ(state.microRows, 0);
  EXPECT_EQ(state.macroRows, 0);
  RebuildWorkerTilePartition(state, 2);
  for (const WorkerPartition& partition : state.partitions) EXPECT_TRUE(partition.empty());
  CoverViewport(state, 32, 32);  // and the next viewport makes a grid
  EXPECT_EQ(state.tileLists.size(), 16u);
}

TEST(Grid, RestoreWithoutASizeBuildsNothing) {
  DriverState state;
  state.microCols = 1000;
  RestoreTileGrid(state);
  EXPECT_EQ(state.microCols, 0);
  EXPECT_TRUE(state.tileLists.empty());
  EXPECT_EQ(state.triangles.capacity(), 0u);
}

TEST(Grid, ResetEmptiesTheFrameAndKeepsStorageAndBounds) {
  DriverState state;
  ResizeTileGrid(state, 64, 64);
  RebuildWorkerTilePartition(state, 2);
  state.hizTable[5] = 0.5f;
  state.tileLists[5].reserve(100);
  state.tileLists[5].push_back(1);
  state.listsFilled = 1;
  state.triangles.push_back(test::Triangle(1));
  state.vertices.push_back({});
  state.packetVertices.push_back({});
  state.packets.push_back({});
  state.buildStats.records = 1;
  state.buildStats.replaySource = 2;
  state.packetSequence = 3;
  state.pendingColorClear = state.pendingDepthClear = 1;
  state.pendingColorClearValue = 0x12345678u;
  state.publishedTriangleCount = 64;
  state.trianglesPublished = 1;
  ResetFrame(state);
  EXPECT_TRUE(state.triangles.empty());
  EXPECT_EQ(state.triangles.capacity(), 65536u);
  EXPECT_TRUE(state.tileLists[5].empty());
  EXPECT_EQ(state.tileLists[5].capacity(), 100u);
  EXPECT_TRUE(state.vertices.empty());
  EXPECT_TRUE(state.packetVertices.empty());
  EXPECT_TRUE(state.packets.empty());
  const FrameBuildStats none = {};
  EXPECT_EQ(std::memcmp(&state.buildStats, &none, sizeof none), 0);
  EXPECT_EQ(state.packetSequence, 0u);
  EXPECT_EQ(state.pendingColorClear, 0);
  EXPECT_EQ(state.pendingDepthClear, 0);
  EXPECT_EQ(state.pendingColorClearValue, 0x12345678u);
  EXPECT_EQ(state.publishedTriangleCount, 0u);
  EXPECT_EQ(state.trianglesPublished, 0);
  EXPECT_EQ(state.hizTable[5], 0.5f);
  EXPECT_EQ(state.partitions.size(), 2u);
  EXPECT_EQ(state.macroOwner.size(), 4u);
}

}  // namespace
}  // namespace tlr2
