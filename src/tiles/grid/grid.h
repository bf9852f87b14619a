// The tile grid: 32 by 32 macro tiles are owned, 8 by 8 micro tiles are rasterised.
#pragma once

#include <cstddef>
#include <cstdint>

#include "records/driver_state.h"

namespace tlr2 {

/// Rebuilds the grid for `width` by `height` pixels; nothing when the size is the same and lists exist.
void ResizeTileGrid(DriverState& state, std::int32_t width, std::int32_t height);
/// Grows the grid for a viewport: to the larger of old and new on each axis; shrinks only when there is none yet.
void CoverViewport(DriverState& state, std::int32_t width, std::int32_t height);
/// After a saved size was put back into the state: makes the tables fit it, in one partition. Tables that are too large
/// stay; nothing relies on equal sizes.
void RestoreTileGrid(DriverState& state);
/// Empties the per-frame vectors and lists, keeping storage. Depth bounds stay.
void ResetFrame(DriverState& state);
/// Deals the macro tiles out to `taskCount` partitions by a fixed shuffle; nothing when they already stand.
void RebuildWorkerTilePartition(DriverState& state, std::int32_t taskCount);
/// How many macro tiles the grid has; none where it has no pixels, whatever the product of its counts.
std::size_t MacroTileCount(const DriverState& state) noexcept;
/// Gives the lists their places for the grid and the deal as they stand. Nothing when they have them; lists that move
/// are emptied. A replay's deal to one task leaves them where the render before it had them.
void PlaceTileLists(DriverState& state);
/// Whether they have places for the grid as it stands, whatever the deal.
bool ListsHavePlaces(const DriverState& state) noexcept;

/// The list of a micro tile of the grid.
const TileEntryList& TileListOf(const DriverState& state, std::int32_t microX, std::int32_t microY) noexcept;

}  // namespace tlr2
