// A tile's list: its triangles, in order, into the pixels of the tile's steps over the lanes.
#pragma once

namespace tlr2 {
namespace {

LANE_FN void FinishTile(const KernelFrameArgs& args, Tile& tile) {
  if (tile.colorHeld) StorePlanes(tile, args.colorPixels, args.colorStrideBytes, tile.color);
  if (!tile.depthDirty) return;
  Ints words[kPlanes];
  for (int p = 0; p < kPlanes; ++p) words[p] = Bits(tile.depth[p]);
  StorePlanes(tile, args.depthPixels, args.depthStrideBytes, words);
}

LANE_FN bool Waits(const TriangleRecord& t) { return t.alphaTest == 0 && !Blends(t.blendMode); }

/// A list being drawn into a tile. Its steps go on side by side: what they ask of a triangle alike is found once.
struct TileDrawing {
  StepDrawing step[kSteps];
  int steps;   // those that have pixels
  bool whole;  // all pixels lie in bounds
  TileCorners corners;
  TileCorners stepCorners[kSteps];
  Edges edges[kSteps + 1];

  LANE_FN TileDrawing(const KernelFrameArgs& args, std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1,
                      const TileClears& clears)
      : steps(kSteps > 1 && y1 - y0 > kStepRows ? kSteps : 1),
        whole(x1 - x0 >= 8 && y1 - y0 >= 8),
        corners(CornersOf(x0, y0, 8)) {
    for (int i = 0; i < steps; ++i) {
      const std::int32_t y = y0 + i * kStepRows;
      step[i].args = &args;
      StartTile(step[i].tile, x0, y, x1, y1);
      StartCleared(step[i].tile, clears);
      step[i].centres = TileCentres(step[i].tile);
      if constexpr (kSteps > 1) stepCorners[i] = CornersOf(x0, y, kStepRows);
    }
  }

  /// Calls `visit(step, corners)` for each, one after the other.
  template <typename Visit>
  LANE_FN void VisitSteps(Visit visit) {
    if constexpr (kSteps == 1) return visit(step[0], corners);
    for (int i = 0; i < steps; ++i) visit(step[i], stepCorners[i]);
  }

  /// Edges that no triangle stands by that fills a step.
  LANE_FN Edges& FreeEdges() {
    Edges* free = edges;
    if constexpr (kSteps == 1) return free == step[0].waiting.fillEdges ? edges[1] : *free;
    while (free == step[0].waiting.fillEdges || free == step[kSteps - 1].waiting.fillEdges) ++free;
    return *free;
  }
};

LANE_FN Place PlaceInStep(Place atTile, const TileCorners& corners, const Edges& edges) {
  return kSteps > 1 && atTile == Place::kPartly ? PlaceAt(corners, edges) : atTile;
}

/// Lets an opaque triangle wait that passes at all pixels of the step, with depths in that range.
LANE_FN void WaitRanged(StepDrawing& step, const TriangleRecord& t, const Edges& edges, const DepthRange& range) {
  if (WritesDepth(t)) {
    step.tile.range = range;
    step.tile.depthDirty = true;
  }
  WaitEverywhere(step, t, edges);
}

/// An opaque triangle at all pixels of a step, between known depths.
LANE_FN void TakeRanged(StepDrawing& step, const TriangleRecord& t, const Edges& edges, DepthStep depth,
                        const DepthRange& range) {
  Tile& tile = step.tile;
  FindStoredRange(*step.args, tile);
  if (NonePasses(t, range, tile.range)) return;
  if (!AllPass(t, range, tile.range)) return Wait(step, t, edges, Place::kEverywhere, depth, &range);
  WaitRanged(step, t, edges, range);
}

/// An opaque triangle in its turn. The last one of a list is not worth asking whether its range decides.
LANE_FN void TakeOpaque(TileDrawing& drawing, const TriangleRecord& t, const Edges& edges, Place atTile, bool last) {
  const DepthStep depth = DepthStepOf(t);
  if (last || atTile != Place::kEverywhere || !drawing.whole) {
    return drawing.VisitSteps([&](StepDrawing& step, const TileCorners& corners) __attribute__((always_inline)) {
      const Place at = PlaceInStep(atTile, corners, edges);
      if (at != Place::kNowhere) Wait(step, t, edges, at, depth, nullptr);
    });
  }
  if (depth == DepthStep::kNone) {
    return drawing.VisitSteps([&](StepDrawing& step, const TileCorners&)
                                  __attribute__((always_inline)) { WaitEverywhere(step, t, edges); });
  }
  if (!HasRange(t, edges)) {
    return drawing.VisitSteps([&](StepDrawing& step, const TileCorners&) __attribute__((always_inline)) {
      Wait(step, t, edges, Place::kEverywhere, depth, nullptr);
    });
  }
  const DepthRange range = RangeOf(t, drawing.corners, edges);
  drawing.VisitSteps([&](StepDrawing& step, const TileCorners&)
                         __attribute__((always_inline)) { TakeRanged(step, t, edges, depth, range); });
}

/// A triangle that blends or is alpha-tested, in its turn.
LANE_FN void TakeOther(StepDrawing& step, const TriangleRecord& t, const Edges& edges, Place at) {
  Tile& tile = step.tile;
  if (step.waiting.filling) Fill(step);
  const DepthStep depth = DepthStepOf(t);
  Fragments fragments;
  Barycentrics weights[kPlanes];
  const Search search = {t, tile, fragments, weights, Splat(kShowsStored)};
  if (!FindFragments<false>(*step.args, search, step.centres, edges, at, depth)) return;
  if (step.waiting.taken != 0 && Blends(t.blendMode)) DrawWaiting(step);
  LoadColor(*step.args, tile);
  fragments.writesDepth = depth == DepthStep::kKeep && WritesDepth(t);
  if (fragments.writesDepth || WritesAtOnce(depth)) {
    tile.depthDirty = true;
    tile.rangeKnown = false;
  }
  DrawFragments(*step.args, t, fragments, weights, step.ahead, tile);
}

LANE_FN void TakeTriangle(TileDrawing& drawing, const TriangleRecord& t, bool last) {
  Edges& edges = drawing.FreeEdges();
  const Place atTile = SetUpEdges(t, drawing.corners, edges);
  if (atTile == Place::kNowhere) return;
  if (Waits(t)) return TakeOpaque(drawing, t, edges, atTile, last);
  drawing.VisitSteps([&](StepDrawing& step, const TileCorners& corners) __attribute__((always_inline)) {
    const Place at = PlaceInStep(atTile, corners, edges);
    if (at != Place::kNowhere) TakeOther(step, t, edges, at);
  });
}

LANE_FN void DrawList(const KernelFrameArgs& args, const std::uint32_t* entries, std::int32_t entryCount, float bound,
                      TileDrawing& drawing) {
  for (std::int32_t i = 0; i < entryCount; ++i) {
    const TriangleRecord& t = args.triangles[entries[i]];
    if (!BehindBound(t, bound)) TakeTriangle(drawing, t, i == entryCount - 1);
  }
  drawing.VisitSteps([&](StepDrawing& step, const TileCorners&) __attribute__((always_inline)) {
    if (step.waiting.taken != 0) DrawWaiting(step);
    FinishTile(args, step.tile);
  });
}

}  // namespace
}  // namespace tlr2
