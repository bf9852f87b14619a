// Sizes and tables of the tile grid, and the reset between frames.
#include "tiles/grid/grid.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

#include "settings/profiler.h"
#include "settings/status.h"

namespace tlr2 {
namespace {

constexpr std::size_t kListReserve = 8;
/// More tiles than this do not fit the 32-bit address space, at some 64 bytes for a list and its first entries.
constexpr std::int64_t kTileLimit = 0x7FFFFFFF / 64;

struct GridCounts {
  std::int32_t microCols, microRows, macroCols, macroRows;
  /// 0 when an axis has none, also when both are negative.
  std::int64_t MicroTiles() const noexcept {
    return microCols > 0 && microRows > 0 ? static_cast<std::int64_t>(microCols) * microRows : 0;
  }
};

// From pixels on both levels: the macro grid does not follow from the micro grid. 64 bits, so that no size overflows.
GridCounts CountTiles(std::int32_t width, std::int32_t height) noexcept {
  const std::int64_t w = width, h = height;
  return {static_cast<std::int32_t>((w + 7) >> 3), static_cast<std::int32_t>((h + 7) >> 3),
          static_cast<std::int32_t>((w + 31) >> 5), static_cast<std::int32_t>((h + 31) >> 5)};
}

void StoreCounts(DriverState& state, const GridCounts& counts) noexcept {
  state.microCols = counts.microCols;
  state.microRows = counts.microRows;
  state.macroCols = counts.macroCols;
  state.macroRows = counts.macroRows;
}

void WriteStatus(const DriverState& state) noexcept {
  std::snprintf(framebufferStatusLine, sizeof framebufferStatusLine,
                "[TLR2 framebuffer = %dx%d (%dx%d macro, %dx%d micro tiles)]", static_cast<int>(state.fbWidth),
                static_cast<int>(state.fbHeight), static_cast<int>(state.macroCols), static_cast<int>(state.macroRows),
                static_cast<int>(state.microCols), static_cast<int>(state.microRows));
}

void BuildTileGrid(DriverState& state, std::int32_t width, std::int32_t height) {
  const GridCounts counts = CountTiles(width, height);
  if (counts.MicroTiles() > kTileLimit) throw std::length_error("vector too long");
  const auto tiles = static_cast<std::size_t>(counts.MicroTiles());

  // Tables before sizes: should memory run out, the sizes still name what exists. Lists that survive keep storage.
  if (tiles > state.tileLists.capacity()) {
    std::vector<TileEntryList>().swap(state.tileLists);
    state.tileLists.reserve(tiles);
  }
  state.tileLists.resize(tiles);
  for (TileEntryList& list : state.tileLists) {
    list.clear();
    list.reserve(kListReserve);
  }
  state.hizTable.assign(tiles, 1.0f);
  state.fbWidth = width;
  state.fbHeight = height;
  StoreCounts(state, counts);

  // An empty table makes the next rebuild happen, also for the same count.
  state.partitions.clear();
  PlaceTileLists(state);
  state.triangles.reserve(kTriangleReserve);
  state.packetVertices.reserve(kVertexReserve);
  state.packets.reserve(kPacketReserve);
  WriteStatus(state);
}

}  // namespace

void ResizeTileGrid(DriverState& state, std::int32_t width, std::int32_t height) {
  const ScopeTimer scope("tlr2::ResizeTileGrid");
  if (width == state.fbWidth && height == state.fbHeight && !state.tileLists.empty()) return;
  BuildTileGrid(state, width, height);
}

void CoverViewport(DriverState& state, std::int32_t width, std::int32_t height) {
  if (width > state.fbWidth || height > state.fbHeight) {
    ResizeTileGrid(state, std::max(width, state.fbWidth), std::max(height, state.fbHeight));
  } else if (state.tileLists.empty()) {
    ResizeTileGrid(state, width, height);
  }
}

void RestoreTileGrid(DriverState& state) {
  // A snapshot read from a file may name counts that do not follow from its size, or more tiles than there are here.
  const GridCounts counts = CountTiles(state.fbWidth, state.fbHeight);
  const std::int64_t tiles = counts.MicroTiles();
  if (tiles > kTileLimit) {
    // The state holds the snapshot's size already: it must not name tiles that do not exist.
    state.fbWidth = state.fbHeight = 0;
    StoreCounts(state, GridCounts{});
    throw std::length_error("vector too long");
  }
  StoreCounts(state, counts);
  const auto listed = static_cast<std::int64_t>(std::min(state.tileLists.size(), state.hizTable.size()));
  if (state.fbWidth != 0 && state.fbHeight != 0) {
    if (listed < tiles) {
      const ScopeTimer scope("tlr2::ResizeTileGrid");
      BuildTileGrid(state, state.fbWidth, state.fbHeight);
    } else {
      ResizeTileGrid(state, state.fbWidth, state.fbHeight);
    }
  }
  RebuildWorkerTilePartition(state, 1);
  if (!ListsHavePlaces(state)) PlaceTileLists(state);
}

void ResetFrame(DriverState& state) {
  const ScopeTimer scope("tlr2::ResetFrame");
  state.triangles.clear();
  // A frame that drew nothing left them empty: walking them would be a tenth of a frame of clears.
  if (state.listsFilled != 0) {
    for (TileEntryList& list : state.tileLists) list.clear();
    state.listsFilled = 0;
  }
  state.vertices.clear();
  state.packetVertices.clear();
  state.packets.clear();
  state.buildStats = {};
  state.packetSequence = 0;
  state.pendingColorClear = 0;
  state.pendingDepthClear = 0;
  state.publishedTriangleCount = 0;
  state.trianglesPublished = 0;
}

}  // namespace tlr2
