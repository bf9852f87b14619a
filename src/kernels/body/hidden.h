// What a later triangle hides at all pixels of a tile: the list is drawn from that triangle on. The hierarchical bound
// does the same for triangles that test for "less or equal"; programs that leave the test at "less" gain it here.
#pragma once

namespace tlr2 {
namespace {

/// Whether all depths that the triangle can write in any tile lie behind `depth`.
///
/// A covered pixel's weights are at least -(1/256 + 11 u E^2) / area, where u is 2^-24, E^2 the sum of the squared
/// edges, and area the doubled one; they add up to 1, and weights and depth are off by less than 66 u E^2 / area + 29 u
/// of the depths' magnitude by rounding. So the depth is never nearer than the nearest vertex by more than
/// (range / 128 + 110 u E^2 magnitude) / area + 29 u magnitude. Twice that is asked for here. Needles are not judged.
LANE_FN bool StaysBehind(const TriangleRecord& t, float depth) {
  constexpr float kUnderflow = 0x1p-60f;  // far beyond what products may lose that are not normal numbers
  if (t.depthTest == 0 || t.depthWrite == 0) return true;
  const Quad x = LoadQuad(t.x), y = LoadQuad(t.y);
  const Quad dx = Sub(Rotate(x), x), dy = Sub(Rotate(y), y);
  const float area = __builtin_fabsf(First(dx) * Third(dy) - First(dy) * Third(dx));
  const Quad squares = OnlyThree(Add(Mul(dx, dx), Mul(dy, dy)));
  const float extent = First(Sums(squares, squares, squares, squares));
  if (!(area >= 1.0f && extent <= 0x1p14f * area)) return false;
  const float least = Least(t.z), range = Greatest(t.z) - least;
  const float magnitude = __builtin_fabsf(t.z[0]) + __builtin_fabsf(t.z[1]) + __builtin_fabsf(t.z[2]);
  return (least - depth) * area >
         range * 0x1p-6f + magnitude * (extent * 0x1p-16f + area * 0x1p-18f) + area * kUnderflow;
}

/// Takes the triangle at `place` as the first one if it passes at all pixels of the tile, whatever stands before it in
/// the list. Returns whether it does.
[[gnu::noinline]] bool TakeIfHidesAllBefore(const KernelFrameArgs& args, const std::uint32_t* entries,
                                            std::int32_t place, TileDrawing& drawing) {
  const TriangleRecord& t = args.triangles[entries[place]];
  if (!Waits(t) || !WritesDepth(t)) return false;
  Edges& edges = drawing.FreeEdges();
  if (SetUpEdges(t, drawing.corners, edges) != Place::kEverywhere || !HasRange(t, edges)) return false;
  const DepthRange range = RangeOf(t, drawing.corners, edges);
  for (std::int32_t i = place - 1; i >= 0; --i) {
    if (!StaysBehind(args.triangles[entries[i]], range.high)) return false;
  }
  bool passes = true;
  drawing.VisitSteps([&](StepDrawing& step, const TileCorners&) __attribute__((always_inline)) {
    FindStoredRange(args, step.tile);
    passes = passes && AllPass(t, range, step.tile.range);
  });
  if (!passes) return false;
  const DepthStep depth = DepthStepOf(t);
  drawing.VisitSteps([&](StepDrawing& step, const TileCorners&)
                         __attribute__((always_inline)) { TakeRanged(step, t, edges, depth, range); });
  return true;
}

/// Takes the triangle that hides those before it, if one seems to. Returns the place to go on from in the list.
LANE_FN std::int32_t SkipHidden(const KernelFrameArgs& args, const std::uint32_t* entries, const ListScan& scan,
                                TileDrawing& drawing) {
  if (__builtin_expect(scan.nearest == 0 || !drawing.whole, 1)) return 0;
  if (TakeIfHidesAllBefore(args, entries, scan.nearest, drawing)) return scan.nearest + 1;
  if (scan.nextNearest > 0 && TakeIfHidesAllBefore(args, entries, scan.nextNearest, drawing))
    return scan.nextNearest + 1;
  return 0;
}

}  // namespace
}  // namespace tlr2
