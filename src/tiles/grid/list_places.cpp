// The places of the micro tiles' lists in their table: by task, then by macro tile in screen order.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "tiles/grid/grid.h"

namespace tlr2 {
namespace {

std::size_t TaskCount(const DriverState& state) noexcept { return std::max<std::size_t>(state.partitions.size(), 1); }

/// Calls `visit(macro tile, owner, its lists)` in screen order.
template <typename Visit>
void ForEachMacroTile(const DriverState& state, Visit visit) {
  const bool shared = TaskCount(state) > 1;
  std::size_t tile = 0;
  for (std::int32_t y = 0; y < state.macroRows; ++y) {
    const std::int32_t rows = std::min(state.microRows - y * 4, 4);
    for (std::int32_t x = 0; x < state.macroCols; ++x, ++tile) {
      const std::int32_t cols = std::min(state.microCols - x * 4, 4);
      visit(tile, shared ? std::size_t{state.macroOwner[tile]} : 0, static_cast<std::uint32_t>(cols * rows));
    }
  }
}

}  // namespace

bool ListsHavePlaces(const DriverState& state) noexcept {
  const TileListPlaces& places = state.listPlaces;
  return places.tasks != 0 && places.microCols == state.microCols && places.microRows == state.microRows;
}

void PlaceTileLists(DriverState& state) {
  TileListPlaces& places = state.listPlaces;
  const std::size_t tasks = TaskCount(state);
  if (ListsHavePlaces(state) && places.tasks == tasks) return;
  places.tasks = 0;  // should memory run out, there are no places
  const bool tiles = state.macroCols > 0 && state.macroRows > 0;
  places.first.clear();
  places.next.clear();
  places.next.resize(tasks);
  if (tiles) {
    places.first.resize(static_cast<std::size_t>(state.macroCols) * static_cast<std::size_t>(state.macroRows));
    ForEachMacroTile(state, [&](std::size_t, std::size_t task, std::uint32_t lists) { places.next[task] += lists; });
    std::uint32_t before = 0;
    for (std::uint32_t& next : places.next) {
      const std::uint32_t lists = next;
      next = before;
      before += lists;
    }
    ForEachMacroTile(state, [&](std::size_t tile, std::size_t task, std::uint32_t lists) {
      places.first[tile] = places.next[task];
      places.next[task] += lists;
    });
  }
  places.microCols = state.microCols;
  places.microRows = state.microRows;
  places.tasks = tasks;
  for (TileEntryList& list : state.tileLists) list.clear();
}

const TileEntryList& TileListOf(const DriverState& state, std::int32_t microX, std::int32_t microY) noexcept {
  const std::int32_t macroX = microX / 4, macroY = microY / 4;
  const std::int32_t cols = std::min(state.microCols - macroX * 4, 4);
  const std::uint32_t first = state.listPlaces.first[static_cast<std::size_t>(macroY * state.macroCols + macroX)];
  return state.tileLists[first + static_cast<std::size_t>((microY - macroY * 4) * cols + microX - macroX * 4)];
}

}  // namespace tlr2
