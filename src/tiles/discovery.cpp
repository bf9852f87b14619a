// Bounding boxes a block at a time, then one walk a triangle: over the macro tiles of its box or over the task's own.
#include "tiles/discovery.h"

#include <algorithm>
#include <limits>

#include "base/float4.h"

namespace tlr2 {
namespace {

constexpr std::uint32_t kBlock = 64;
constexpr float kAreaEpsilon = 0.0001f;

/// Clipped pixel boxes and macro tile ranges of a block of triangles; upper bounds are exclusive.
struct BoxBlock {
  std::int32_t minX[kBlock], minY[kBlock], maxX[kBlock], maxY[kBlock];
  std::int32_t macroX0[kBlock], macroY0[kBlock], macroX1[kBlock], macroY1[kBlock];
};

/// Figures of one block fit 32 bits; they join the 64-bit sums once a block.
struct BlockCounts {
  std::uint32_t pickedByBox, pickedByList;
  std::uint32_t macrosVisitedByBox, macrosSkippedByOwner;
  std::uint32_t macrosVisitedByList, macrosSkippedByBox;
  std::uint32_t microsConsidered, microsEdgeRejected;
};

/// Edge functions a*x + b*y + c, one in each of three lanes, positive inside. The fourth lane, and all lanes of a
/// triangle with no area to speak of, are 0 and so reject nothing.
struct EdgeSet {
  Float4 a, b, c;
  // How far right of a tile's left side, and below its upper one, the corner lies that maximises an edge: 0 or a tile.
  Float4 toRight, toBottom;
};

struct Box {
  std::int32_t minX, minY, maxX, maxY;
};

void ComputeBoxes(const DiscoveryGrid& grid, const TriangleRecord* triangles, std::uint32_t count, BoxBlock& out) {
  const Int4 zero = Splat4(0);
  const Int4 width = Splat4(grid.fbWidth), height = Splat4(grid.fbHeight);
  const Int4 cols = Splat4(grid.macroCols), rows = Splat4(grid.macroRows);
  for (std::uint32_t i = 0; i < count; i += 4) {
    // The last group repeats its last triangle; nobody reads the surplus boxes.
    const std::uint32_t last = count - 1;
    const auto* t0 = reinterpret_cast<const float*>(triangles + i);
    const auto* t1 = reinterpret_cast<const float*>(triangles + std::min(i + 1, last));
    const auto* t2 = reinterpret_cast<const float*>(triangles + std::min(i + 2, last));
    const auto* t3 = reinterpret_cast<const float*>(triangles + std::min(i + 3, last));
    // x of the three vertices and y of the first; then, from the same record, y of the other two.
    Float4 x0 = Load4(t0), x1 = Load4(t1), x2 = Load4(t2), y0 = Load4(t3);
    Float4 y1 = Load4(t0 + 4), y2 = Load4(t1 + 4), unused2 = Load4(t2 + 4), unused3 = Load4(t3 + 4);
    Transpose4(x0, x1, x2, y0);
    Transpose4(y1, y2, unused2, unused3);

    const Int4 minX = Max4(FloorToInt4(Min4(Min4(x0, x1), x2)), zero);
    const Int4 minY = Max4(FloorToInt4(Min4(Min4(y0, y1), y2)), zero);
    const Int4 maxX = Min4(CeilToInt4(Max4(Max4(x0, x1), x2)), width);
    const Int4 maxY = Min4(CeilToInt4(Max4(Max4(y0, y1), y2)), height);
    Store4(out.minX + i, minX);
    Store4(out.minY + i, minY);
    Store4(out.maxX + i, maxX);
    Store4(out.maxY + i, maxY);
    Store4(out.macroX0 + i, minX >> 5);
    Store4(out.macroY0 + i, minY >> 5);
    Store4(out.macroX1 + i, Min4((maxX + 31) >> 5, cols));
    Store4(out.macroY1 + i, Min4((maxY + 31) >> 5, rows));
  }
}

/// Edge i from vertex i to the next: a = -(y' - y), b = x' - x, c = -(y b + a x).
EdgeSet ComputeEdges(const TriangleRecord& t) {
  const Float4 x = Load4(t.x), y = Load4(t.y);  // the fourth lanes hold what stands behind
  const Float4 a = -(__builtin_shufflevector(y, y, 1, 2, 0, 3) - y);
  const Float4 b = __builtin_shufflevector(x, x, 1, 2, 0, 3) - x;
  const Float4 c = -(y * b + a * x);
  const float area = x[2] * a[0] + y[2] * b[0] + c[0];
  // Without a branch: which way round a triangle goes cannot be guessed.
  const Float4 areas = Splat4(area);
  const Int4 usable = (areas < Splat4(-kAreaEpsilon)) | (areas > Splat4(kAreaEpsilon));
  const Int4 kept = usable & Int4{-1, -1, -1, 0};
  const Int4 flipped = (areas < Splat4(-kAreaEpsilon)) & Splat4(std::numeric_limits<std::int32_t>::min());
  const auto oriented = [=](Float4 edge) { return (Float4)(((Int4)edge ^ flipped) & kept); };
  EdgeSet edges;
  edges.a = oriented(a);
  edges.b = oriented(b);
  edges.c = oriented(c);
  edges.toRight = edges.a < Splat4(0.0f) ? Splat4(0.0f) : Splat4(8.0f);
  edges.toBottom = edges.b < Splat4(0.0f) ? Splat4(0.0f) : Splat4(8.0f);
  return edges;
}

/// Appends `triangle` to the lists of those micro tiles of one macro tile that its box covers and no edge rejects.
/// Inline, so that the edges stay in registers where a box meets one macro tile, as most do.
[[gnu::always_inline]] inline void BinIntoMacroTile(const DiscoveryGrid& grid, std::int32_t macroX, std::int32_t macroY,
                                                    const Box& box, const EdgeSet& edges, std::uint32_t triangle,
                                                    BlockCounts& counts) {
  const std::int32_t mx0 = macroX * 4, my0 = macroY * 4;
  const std::int32_t listCols = std::min(4, grid.microCols - mx0);
  const std::int32_t x0 = std::max(box.minX >> 3, mx0);
  const std::int32_t x1 = std::min((box.maxX + 7) >> 3, mx0 + listCols);
  const std::int32_t y0 = std::max(box.minY >> 3, my0);
  const std::int32_t y1 = std::min((box.maxY + 7) >> 3, std::min(my0 + 4, grid.microRows));
  if (x0 >= x1 || y0 >= y1) return;

  // Of each tile the corner that maximises an edge; the products depend on the column or the row alone. Sides are
  // multiples of 8, which floats hold exactly below 2^27, but for the frame's own, where the last ones end.
  const Float4 tile = Splat4(8.0f);
  const Float4 width = Splat4(static_cast<float>(grid.fbWidth)), height = Splat4(static_cast<float>(grid.fbHeight));
  Float4 columnTerms[4];
  Float4 columns = Splat4(static_cast<float>(x0 * 8)) + edges.toRight;
  for (std::int32_t x = 0; x < x1 - x0; ++x, columns += tile) columnTerms[x] = edges.a * Min4(columns, width);
  counts.microsConsidered += static_cast<std::uint32_t>((x1 - x0) * (y1 - y0));
  Float4 rows = Splat4(static_cast<float>(y0 * 8)) + edges.toBottom;
  const auto macro =
      static_cast<std::size_t>(macroY) * static_cast<std::size_t>(grid.macroCols) + static_cast<std::size_t>(macroX);
  TileEntryList* row = grid.lists + grid.listPlaces[macro] + ((y0 - my0) * listCols + x0 - mx0);
  for (std::int32_t y = y0; y < y1; ++y, rows += tile, row += listCols) {
    const Float4 rowTerm = edges.b * Min4(rows, height);
    TileEntryList* list = row;
    for (std::int32_t x = 0; x < x1 - x0; ++x, ++list) {
      const Float4 value = columnTerms[x] + rowTerm + edges.c;
      const bool rejected = AnyLane(value < Splat4(0.0f));
      counts.microsEdgeRejected += rejected ? 1 : 0;
      if (list->spare() == 0) [[unlikely]] {
        if (!rejected) list->push_back(triangle);
        continue;
      }
      // Written in any case and taken where it counts: a branch on it would be guessed wrong all the time.
      *list->TakeSpare(rejected ? 0 : 1) = triangle;
    }
  }
}

void WalkBox(const DiscoveryGrid& grid, const BoxBlock& boxes, std::uint32_t i, std::int32_t macroCount,
             const TriangleRecord& record, std::uint32_t triangle, BlockCounts& counts) {
  const std::uint16_t self = static_cast<std::uint16_t>(grid.taskIndex);
  ++counts.pickedByBox;
  counts.macrosVisitedByBox += static_cast<std::uint32_t>(macroCount);
  bool haveEdges = false;  // most boxes meet no tile of this task
  EdgeSet edges;
  const Box box = {boxes.minX[i], boxes.minY[i], boxes.maxX[i], boxes.maxY[i]};
  for (std::int32_t macroY = boxes.macroY0[i]; macroY < boxes.macroY1[i]; ++macroY) {
    const std::uint16_t* owner = grid.macroOwner + static_cast<std::ptrdiff_t>(macroY) * grid.macroCols;
    for (std::int32_t macroX = boxes.macroX0[i]; macroX < boxes.macroX1[i]; ++macroX) {
      if (owner[macroX] != self) {
        ++counts.macrosSkippedByOwner;
        continue;
      }
      if (!haveEdges) {
        edges = ComputeEdges(record);
        haveEdges = true;
      }
      BinIntoMacroTile(grid, macroX, macroY, box, edges, triangle, counts);
    }
  }
}

void WalkOwnedList(const DiscoveryGrid& grid, const BoxBlock& boxes, std::uint32_t i, const TriangleRecord& record,
                   std::uint32_t triangle, BlockCounts& counts) {
  ++counts.pickedByList;
  counts.macrosVisitedByList += static_cast<std::uint32_t>(grid.partitionSize);
  const EdgeSet edges = ComputeEdges(record);
  const Box box = {boxes.minX[i], boxes.minY[i], boxes.maxX[i], boxes.maxY[i]};
  for (std::int32_t p = 0; p < grid.partitionSize; ++p) {
    const std::int32_t tile = grid.partition[p];
    const std::int32_t macroY = tile / grid.macroCols, macroX = tile % grid.macroCols;
    if (macroY >= grid.macroRows) continue;
    const std::int32_t left = macroX * 32, top = macroY * 32;
    if (left < box.maxX && std::min(left + 32, grid.fbWidth) > box.minX && top < box.maxY &&
        std::min(top + 32, grid.fbHeight) > box.minY) {
      BinIntoMacroTile(grid, macroX, macroY, box, edges, triangle, counts);
    } else {
      ++counts.macrosSkippedByBox;
    }
  }
}

void AddBlock(const BlockCounts& block, DiscoveryCounts& sums) {
  sums.pickedByBox += block.pickedByBox;
  sums.pickedByList += block.pickedByList;
  sums.macrosVisitedByBox += block.macrosVisitedByBox;
  sums.macrosSkippedByOwner += block.macrosSkippedByOwner;
  sums.macrosVisitedByList += block.macrosVisitedByList;
  sums.macrosSkippedByBox += block.macrosSkippedByBox;
  sums.microsConsidered += block.microsConsidered;
  sums.microsEdgeRejected += block.microsEdgeRejected;
  sums.microsAccepted += block.microsConsidered - block.microsEdgeRejected;
}

}  // namespace

DiscoveryGrid MakeDiscoveryGrid(DriverState& state, std::int32_t taskIndex) noexcept {
  const WorkerPartition& partition = state.partitions[static_cast<std::size_t>(taskIndex)];
  return DiscoveryGrid{state.fbWidth,
                       state.fbHeight,
                       state.microCols,
                       state.microRows,
                       state.macroCols,
                       state.macroRows,
                       state.macroOwner.data(),
                       partition.data(),
                       static_cast<std::int32_t>(partition.size()),
                       taskIndex,
                       state.listPlaces.first.data(),
                       state.tileLists.data()};
}

void DiscoverTriangles(const DiscoveryGrid& grid, const TriangleRecord* triangles, std::uint32_t count,
                       DiscoveryCounts& counts) {
  BoxBlock boxes;
  for (std::uint32_t base = 0; base < count; base += kBlock) {
    const std::uint32_t size = std::min(kBlock, count - base);
    ComputeBoxes(grid, triangles + base, size, boxes);
    BlockCounts block = {};
    for (std::uint32_t i = 0; i < size; ++i) {
      if (boxes.minX[i] >= boxes.maxX[i] || boxes.minY[i] >= boxes.maxY[i]) continue;
      const std::int32_t macroCount = (boxes.macroY1[i] - boxes.macroY0[i]) * (boxes.macroX1[i] - boxes.macroX0[i]);
      if (macroCount <= 0) continue;
      const TriangleRecord& record = triangles[base + i];
      if (macroCount < grid.partitionSize) {
        WalkBox(grid, boxes, i, macroCount, record, base + i, block);
      } else {
        WalkOwnedList(grid, boxes, i, record, base + i, block);
      }
    }
    AddBlock(block, counts);
  }
}

}  // namespace tlr2
