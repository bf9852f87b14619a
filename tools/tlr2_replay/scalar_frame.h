// A frame that was just rendered, walked once more by the scalar kernel: what tells how each pixel came about.
#pragma once

#include "scalar_kernel.h"
#include "tlr2_replay/session.h"

namespace tlr2::tool {

/// A rectangle of micro tiles, upper bounds exclusive.
struct TileRange {
  std::int32_t x0 = 0, y0 = 0, x1 = INT32_MAX, y1 = INT32_MAX;
};

/// Draws the frame's triangles into `start` with the arithmetic of `target`, telling `observer`. Only while the frame's
/// triangles and lists are in the driver state. Micro tile rows are spread over the pool: an observer is called from
/// several threads, for one tile from one.
void WalkFrame(FrameStart& start, std::int32_t target, const TileRange& range, const judge::ScalarObserver& observer);

}  // namespace tlr2::tool
