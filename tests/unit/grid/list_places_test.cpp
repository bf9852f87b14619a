// The places of the micro tiles' lists: every tile has its own, those of a macro tile and of a task lie together.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "tiles/grid/grid.h"

namespace tlr2 {
namespace {

void Deal(DriverState& state, std::int32_t tasks) {
  RebuildWorkerTilePartition(state, tasks);
  PlaceTileLists(state);
}

std::size_t PlaceOf(const DriverState& state, std::int32_t microX, std::int32_t microY) {
  return static_cast<std::size_t>(&TileListOf(state, microX, microY) - state.tileLists.data());
}

std::size_t OwnerOf(const DriverState& state, std::int32_t microX, std::int32_t microY) {
  return state.macroOwner[static_cast<std::size_t>((microY / 4) * state.macroCols + microX / 4)];
}

struct PlacedGrid {
  std::int32_t width, height, tasks;
};

class PlacesOf : public testing::TestWithParam<PlacedGrid> {
 protected:
  void SetUp() override {
    ResizeTileGrid(state_, GetParam().width, GetParam().height);
    Deal(state_, GetParam().tasks);
  }
  DriverState state_;
};

TEST_P(PlacesOf, EveryMicroTileHasAListOfItsOwn) {
  std::vector<int> uses(state_.tileLists.size(), 0);
  for (std::int32_t y = 0; y < state_.microRows; ++y) {
    for (std::int32_t x = 0; x < state_.microCols; ++x) {
      const std::size_t place = PlaceOf(state_, x, y);
      ASSERT_LT(place, uses.size());
      ++uses[place];
    }
  }
  EXPECT_EQ(std::count(uses.begin(), uses.end(), 1), static_cast<std::ptrdiff_t>(uses.size()));
}

TEST_P(PlacesOf, AMacroTilesListsLieRowByRowFromItsPlaceOn) {
  for (std::int32_t y = 0; y < state_.microRows; ++y) {
    for (std::int32_t x = 0; x < state_.microCols; ++x) {
      const auto macro = static_cast<std::size_t>((y / 4) * state_.macroCols + x / 4);
      const std::int32_t cols = std::min(4, state_.microCols - x / 4 * 4);
      EXPECT_EQ(PlaceOf(state_, x, y),
                state_.listPlaces.first[macro] + static_cast<std::size_t>((y % 4) * cols + x % 4));
    }
  }
}

TEST_P(PlacesOf, ATasksListsLieTogetherInScreenOrderOfItsMacroTiles) {
  const std::size_t tasks = state_.partitions.size();
  std::vector<std::size_t> least(tasks, SIZE_MAX), most(tasks, 0), count(tasks, 0);
  for (std::int32_t y = 0; y < state_.microRows; ++y) {
    for (std::int32_t x = 0; x < state_.microCols; ++x) {
      const std::size_t task = OwnerOf(state_, x, y), place = PlaceOf(state_, x, y);
      least[task] = std::min(least[task], place);
      most[task] = std::max(most[task], place);
      ++count[task];
    }
  }
  for (std::size_t task = 0; task < tasks; ++task) {
    if (count[task] == 0) continue;
    EXPECT_EQ(most[task] - least[task] + 1, count[task]) << task;
  }
  std::vector<std::size_t> last(tasks, 0);
  for (std::size_t macro = 0; macro < state_.macroOwner.size(); ++macro) {
    const std::size_t first = state_.listPlaces.first[macro] + std::size_t{1};
    EXPECT_GT(first, last[state_.macroOwner[macro]]);
    last[state_.macroOwner[macro]] = first;
  }
}

INSTANTIATE_TEST_SUITE_P(Grids, PlacesOf,
                         testing::Values(PlacedGrid{1280, 720, 1}, PlacedGrid{1280, 720, 2}, PlacedGrid{1000, 600, 7},
                                         PlacedGrid{33, 1, 2}, PlacedGrid{1, 1, 1}, PlacedGrid{8, 500, 16},
                                         PlacedGrid{500, 8, 3}, PlacedGrid{100, 100, 16}));

TEST(ListPlaces, AGridWithoutADealHasPlaces) {
  DriverState state;
  ResizeTileGrid(state, 72, 40);
  EXPECT_EQ(PlaceOf(state, 0, 0), 0u);
  EXPECT_EQ(PlaceOf(state, 3, 1), 7u);
  EXPECT_EQ(PlaceOf(state, 8, 2), 34u) << "one column of lists in the last macro tile";
}

TEST(ListPlaces, AReplaysDealToOneTaskMovesNoList) {
  DriverState state;
  ResizeTileGrid(state, 640, 480);
  Deal(state, 3);
  std::vector<std::size_t> before;
  for (std::int32_t x = 0; x < 80; ++x) before.push_back(PlaceOf(state, x, 30));
  RestoreTileGrid(state);
  ASSERT_EQ(state.partitions.size(), 1u);
  for (std::int32_t x = 0; x < 80; ++x) EXPECT_EQ(PlaceOf(state, x, 30), before[static_cast<std::size_t>(x)]);
}

TEST(ListPlaces, ListsThatMoveAreEmptied) {
  DriverState state;
  ResizeTileGrid(state, 640, 480);
  Deal(state, 2);
  for (TileEntryList& list : state.tileLists) list.push_back(5);
  Deal(state, 2);
  EXPECT_EQ(TileListOf(state, 7, 9).size(), 1u) << "the same deal moves nothing";
  Deal(state, 4);
  for (const TileEntryList& list : state.tileLists) EXPECT_TRUE(list.empty());
}

TEST(ListPlaces, ARestoredSmallerGridHasPlacesInTheLargerTable) {
  DriverState state;
  ResizeTileGrid(state, 640, 480);
  Deal(state, 4);
  state.fbWidth = 100;
  state.fbHeight = 72;
  RestoreTileGrid(state);
  EXPECT_EQ(state.tileLists.size(), 80u * 60u);
  std::vector<std::size_t> places;
  for (std::int32_t y = 0; y < 9; ++y)
    for (std::int32_t x = 0; x < 13; ++x) places.push_back(PlaceOf(state, x, y));
  std::sort(places.begin(), places.end());
  for (std::size_t i = 0; i < places.size(); ++i) EXPECT_EQ(places[i], i);
}

TEST(ListPlaces, SizesWithoutPixelsHaveNone) {
  for (const std::int32_t height : {-100, 0}) {
    DriverState state;
    CoverViewport(state, -100, height);
    Deal(state, 2);
    EXPECT_TRUE(state.listPlaces.first.empty());
  }
}

}  // namespace
}  // namespace tlr2
