// The tile grid: 32 by 32 macro tiles are owned, 8 by 8 micro tiles are rasterised.
#pragma once

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

}  // namespace tlr2
