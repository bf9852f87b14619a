// Where lanes lie: a lane is a quad of 2 by 2 pixels, a plane one of the four pixels of all quads. In a group of four
// lanes the reversed lane is the horizontal neighbour and the lane of the other half the vertical one.
#pragma once

namespace tlr2 {
namespace {

constexpr int kPlanes = 4;
/// Rows that one step over the lanes covers; the 8-lane target takes two steps for a tile.
constexpr std::int32_t kStepRows = kLanes / 2;
constexpr int kSteps = 8 / kStepRows;

LANE_FN std::int32_t PlaneDx(int plane) { return plane & 1; }
LANE_FN std::int32_t PlaneDy(int plane) { return plane >> 1; }

/// The integer form of floats, for what works on a whole step and on a part of it alike.
template <typename Lanes>
using IntsOf = decltype(Bits(Lanes{}));

LANE_FN MaskPart AllLanesOfPart() { return Equal(Splat(0), Splat(0)); }

struct DepthRange {
  float low, high;
};

/// What a pixel shows that no triangle waits for.
constexpr std::int32_t kShowsStored = -1;

/// The pixels of one step: bounds, and the buffers' pixels in plane order while the list is worked off.
struct Tile {
  std::int32_t x0, y0;  // first pixel of the step
  bool whole;           // all lanes of all planes lie in bounds
  Mask inBounds[kPlanes];
  Ints color[kPlanes];
  Floats depth[kPlanes];
  Ints shows[kPlanes];  // the waiting triangle whose colour each pixel is to get; set once one waits
  bool colorHeld;       // read, or to be written in every pixel, and so to be stored
  bool depthLoaded, depthDirty;
  DepthRange range;  // no stored depth lies outside, where it is known
  bool rangeKnown;
};

LANE_FN void StartTile(Tile& tile, std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1) {
  tile.x0 = x0;
  tile.y0 = y0;
  tile.whole = x1 - x0 >= 8 && y1 - y0 >= kStepRows;
  tile.colorHeld = tile.depthLoaded = tile.depthDirty = tile.rangeKnown = false;
  if (tile.whole) {
    for (Mask& m : tile.inBounds) m = AllLanesOfPart();
    return;
  }
  for (int p = 0; p < kPlanes; ++p) {
    const Ints x = Add(Splat(x0 + PlaneDx(p)), LaneColumns());
    const Ints y = Add(Splat(y0 + PlaneDy(p)), LaneRows());
    tile.inBounds[p] = And(Less(x, Splat(x1)), Less(y, Splat(y1)));
  }
}

/// Takes pixels that are to be cleared as they will be then; all of them are to be stored.
LANE_FN void StartCleared(Tile& tile, const TileClears& clears) {
  if (clears.color) {
    for (Ints& c : tile.color) c = Splat(static_cast<std::int32_t>(clears.colorValue));
    tile.colorHeld = true;
  }
  if (clears.depth) {
    float depth;
    __builtin_memcpy(&depth, &clears.depthBits, sizeof depth);
    for (Floats& d : tile.depth) d = FromBits(Ints{Splat(static_cast<std::int32_t>(clears.depthBits))});
    tile.depthLoaded = tile.depthDirty = true;
    tile.range = {depth, depth};
    tile.rangeKnown = depth == depth;
  }
}

/// Byte offsets of a plane's pixels from the step's first pixel.
LANE_FN Ints PixelOffsets(int plane, std::uint32_t strideBytes) {
  const std::int32_t stride = static_cast<std::int32_t>(strideBytes);
  const Ints rows = Mul(LaneRows(), Splat(stride));
  return Add(Add(rows, ShiftLeft<2>(LaneColumns())), Splat(PlaneDy(plane) * stride + PlaneDx(plane) * 4));
}

LANE_FN void LoadPlanes(const Tile& tile, const void* pixels, std::uint32_t strideBytes, Ints (&planes)[kPlanes]) {
  const std::ptrdiff_t stride = static_cast<std::ptrdiff_t>(strideBytes);
  const char* first = static_cast<const char*>(pixels) + tile.y0 * stride + tile.x0 * std::ptrdiff_t{4};
  if (tile.whole) {
    LoadPlaneRows(first, stride, planes[0], planes[1]);
    LoadPlaneRows(first + stride, stride, planes[2], planes[3]);
    return;
  }
  for (int p = 0; p < kPlanes; ++p) {
    planes[p] = GatherLive(first, PixelOffsets(p, strideBytes), tile.inBounds[p]);
  }
}

LANE_FN void StorePlanes(const Tile& tile, void* pixels, std::uint32_t strideBytes, const Ints (&planes)[kPlanes]) {
  const std::ptrdiff_t stride = static_cast<std::ptrdiff_t>(strideBytes);
  char* first = static_cast<char*>(pixels) + tile.y0 * stride + tile.x0 * std::ptrdiff_t{4};
  if (tile.whole) {
    StorePlaneRows(first, stride, planes[0], planes[1]);
    StorePlaneRows(first + stride, stride, planes[2], planes[3]);
    return;
  }
  for (int p = 0; p < kPlanes; ++p) {
    ScatterLive(first, PixelOffsets(p, strideBytes), planes[p], tile.inBounds[p]);
  }
}

}  // namespace
}  // namespace tlr2
