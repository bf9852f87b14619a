// The places of the micro tiles' lists in their table: by task, then by macro tile in screen order.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

#include "tiles/grid/grid.h"

namespace tlr2 {
namespace {

/// Of the deal as it stands; without one, all belongs to one task.
std::size_t DealtTasks(const DriverState& state) noexcept { return std::max<std::size_t>(state.partitions.size(), 1); }

/// Calls `visit(macro tile, owner, how many lists it has)` in screen order.
template <typename Visit>
void ForEachMacroTile(const DriverState& state, Visit visit) {
  const std::size_t count = MacroTileCount(state);
  const auto columns = static_cast<std::size_t>(std::max(state.macroCols, 1));
  const bool shared = DealtTasks(state) > 1;
  for (std::size_t tile = 0; tile < count; ++tile) {
    const auto x = static_cast<std::int32_t>(tile % columns), y = static_cast<std::int32_t>(tile / columns);
    const std::int32_t lists = std::min(state.microCols - x * 4, 4) * std::min(state.microRows - y * 4, 4);
    visit(tile, shared ? std::size_t{state.macroOwner[tile]} : 0, static_cast<std::uint32_t>(lists));
  }
}

}  // namespace

bool ListsHavePlaces(const DriverState& state) noexcept {
  const TileListPlaces& places = state.listPlaces;
  return places.tasks != 0 && places.microCols == state.microCols && places.microRows == state.microRows;
}

void PlaceTileLists(DriverState& state) {
  TileListPlaces& places = state.listPlaces;
  const std::size_t tasks = DealtTasks(state);
  if (ListsHavePlaces(state) && places.tasks == tasks) return;
  places.tasks = 0;  // should memory run out, there are no places
  std::vector<std::uint32_t> next(tasks);
  places.first.resize(MacroTileCount(state));
  ForEachMacroTile(state, [&](std::size_t, std::size_t task, std::uint32_t lists) { next[task] += lists; });
  std::exclusive_scan(next.begin(), next.end(), next.begin(), 0u);
  ForEachMacroTile(state, [&](std::size_t tile, std::size_t task, std::uint32_t lists) {
    places.first[tile] = next[task];
    next[task] += lists;
  });
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
