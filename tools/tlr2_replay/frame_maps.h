// Where a frame's work lies on the screen.
#pragma once

#include <cstdint>
#include <vector>

#include "tlr2_replay/picture.h"
#include "tlr2_replay/session.h"

namespace tlr2::tool {

/// A value a tile, row after row.
struct TileMap {
  std::int32_t columns = 0, rows = 0;
  std::vector<double> values;
  double Greatest() const noexcept;
};

struct FrameMaps {
  TileMap triangles;  // in each micro tile's list
  TileMap skipped;    // of them, those behind the tile's depth bound
  TileMap planes;     // shaded per triangle of which any pixel was left, 0 to 4
  TileMap time;       // of each macro tile's kernel calls, in microseconds
  TileMap owner;      // task of each macro tile
};

/// Plays `frame` and maps it. With keepStart.
FrameMaps MapFrame(Session& session, std::uint32_t frame);

/// Black, through red and yellow, to white at `most`.
StoredPicture HeatPicture(const TileMap& map, double most);
/// A colour a whole number.
StoredPicture IndexPicture(const TileMap& map);

}  // namespace tlr2::tool
