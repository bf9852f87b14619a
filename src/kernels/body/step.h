// One step over the lanes: the list's triangles, in order, into the step's pixels.
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

/// An opaque triangle in its turn. The last one of a list is not worth asking whether its range decides.
LANE_FN void TakeOpaque(StepDrawing& step, const TriangleRecord& t, Place at, const Edges& edges, bool last) {
  Tile& tile = step.tile;
  const DepthStep depth = DepthStepOf(t);
  if (last || at != Place::kEverywhere || !tile.whole) return Wait(step, t, at, depth, nullptr);
  if (depth == DepthStep::kNone) return WaitEverywhere(step, t);
  if (!HasRange(t, edges)) return Wait(step, t, at, depth, nullptr);
  const DepthRange range = RangeOf(t, step.corners, edges);
  if (!tile.rangeKnown) {
    LoadDepth(step.args, tile);
    FindStoredRange(tile);
  }
  if (NonePasses(t, range, tile.range)) return;
  if (!AllPass(t, range, tile.range)) return Wait(step, t, at, depth, &range);
  if (WritesAtOnce(depth)) {
    tile.range = range;
    tile.depthDirty = true;
  }
  WaitEverywhere(step, t);
}

/// A triangle that blends or is alpha-tested, in its turn.
LANE_FN void TakeOther(StepDrawing& step, const TriangleRecord& t, Place at, const Edges& edges) {
  Tile& tile = step.tile;
  if (step.waiting.filling) Fill(step);
  const DepthStep depth = DepthStepOf(t);
  Fragments fragments;
  Barycentrics weights[kPlanes];
  const Search search = {t, tile, fragments, weights, Splat(kShowsStored)};
  if (!FindFragments<false>(step.args, search, step.centres, edges, at, depth)) return;
  if (step.waiting.taken != 0 && Blends(t.blendMode)) DrawWaiting(step);
  LoadColor(step.args, tile);
  fragments.writesDepth = depth == DepthStep::kKeep && WritesDepth(t);
  if (fragments.writesDepth || WritesAtOnce(depth)) {
    tile.depthDirty = true;
    tile.rangeKnown = false;
  }
  DrawFragments(step.args, t, fragments, weights, step.ahead, tile);
}

LANE_FN void DrawStep(const KernelFrameArgs& args, const std::uint32_t* entries, std::int32_t entryCount, float bound,
                      Tile& tile) {
  StepDrawing step(args, tile);
  for (std::int32_t i = 0; i < entryCount; ++i) {
    const TriangleRecord& t = args.triangles[entries[i]];
    if (BehindBound(t, bound)) continue;
    Edges& edges = step.waiting.edges[step.waiting.fillEdges ^ 1];
    const Place at = SetUpEdges(t, step.corners, edges);
    if (at == Place::kNowhere) continue;
    if (Waits(t)) {
      TakeOpaque(step, t, at, edges, i == entryCount - 1);
    } else {
      TakeOther(step, t, at, edges);
    }
  }
  if (step.waiting.taken != 0) DrawWaiting(step);
  FinishTile(args, tile);
}

}  // namespace
}  // namespace tlr2
