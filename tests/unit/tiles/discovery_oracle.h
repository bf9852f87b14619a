// Discovery written a second time, straight from the rules and one micro tile at a time: what the fast form is judged
// by.
#pragma once

#include <cstdint>
#include <vector>

#include "records/driver_state.h"
#include "tiles/discovery.h"

namespace tlr2::oracle {

struct Result {
  std::vector<std::vector<std::uint32_t>> lists;  // one a micro tile
  DiscoveryCounts counts = {};
};

/// What task `task` of `state`'s partition finds among `triangles`.
Result Discover(const DriverState& state, std::int32_t task, const std::vector<TriangleRecord>& triangles);

/// Which micro tiles the stated test alone keeps for one triangle, by trying every one of the grid.
std::vector<std::uint8_t> KeptTiles(const DriverState& state, const TriangleRecord& triangle);

}  // namespace tlr2::oracle
