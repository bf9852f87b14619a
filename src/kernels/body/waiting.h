// Opaque triangles wait with their colours until something asks for them: what later ones draw over is never shaded.
#pragma once

namespace tlr2 {
namespace {

/// Triangles whose depth is written, or known, and whose colours are not. The tile notes which of them each pixel
/// shows.
struct WaitingTriangles {
  static constexpr unsigned kMost = 32;

  const TriangleRecord* triangle[kMost];
  Barycentrics weights[kMost][kPlanes];
  unsigned taken = 0;  // a bit for each place that has a triangle
  /// One waits, which all pixels show. Its weights, the tile's notes and the depth that it writes are yet to be found.
  bool filling = false;
  const Edges* fillEdges = nullptr;  // of that one

  LANE_FN WaitingTriangles() {}  // leaves what no triangle has set as it is

  /// A place to put the next one at; kMost where there is none.
  LANE_FN unsigned FreePlace() const { return taken == ~0u ? kMost : static_cast<unsigned>(__builtin_ctz(~taken)); }

  LANE_FN void Add(const TriangleRecord& t, unsigned place, bool alone) {
    if (alone) taken = 0;
    taken |= 1u << place;
    triangle[place] = &t;
  }

  /// The fragments of the triangle at `place` that still show. Returns whether there are any.
  LANE_FN bool FindShown(unsigned place, const Tile& tile, Fragments& fragments) const {
    const Ints mark = Splat(static_cast<std::int32_t>(place));
    for (int p = 0; p < kPlanes; ++p) fragments.live[p] = Equal(tile.shows[p], mark);
    const Mask(&live)[kPlanes] = fragments.live;
    fragments.allLive = All(And(And(live[0], live[1]), And(live[2], live[3])));
    return Any(Or(Or(live[0], live[1]), Or(live[2], live[3])));
  }
};

/// A list being drawn into a step.
struct StepDrawing {
  const KernelFrameArgs* args;
  Tile tile;
  Centres centres;
  WaitingTriangles waiting;
  int ahead = 4;  // planes that the last triangle came to shade: likely as many as the next one will

  LANE_FN StepDrawing() {}  // leaves the rest as it is, too
};

LANE_FN void LoadColor(const KernelFrameArgs& args, Tile& tile) {
  if (!tile.colorHeld) LoadPlanes(tile, args.colorPixels, args.colorStrideBytes, tile.color);
  tile.colorHeld = true;
}

/// Finds what was left open about the triangle that fills the step.
[[gnu::noinline]] void Fill(StepDrawing& step) {
  WaitingTriangles& waiting = step.waiting;
  const unsigned place = static_cast<unsigned>(__builtin_ctz(waiting.taken));
  const TriangleRecord& t = *waiting.triangle[place];
  Fragments fragments;
  const Search search = {t, step.tile, fragments, waiting.weights[place], Splat(static_cast<std::int32_t>(place))};
  const Edges& edges = *waiting.fillEdges;
  if (WritesDepth(t)) {
    FillEverywhere<true>(search, step.centres, edges);
  } else {
    FillEverywhere<false>(search, step.centres, edges);
  }
  waiting.filling = false;
}

/// Draws what shows of the triangles that wait.
[[gnu::noinline]] void DrawWaiting(StepDrawing& step) {
  WaitingTriangles& waiting = step.waiting;
  Tile& tile = step.tile;
  if (waiting.filling) Fill(step);
  for (unsigned left = waiting.taken; left != 0; left &= left - 1) {
    const unsigned place = static_cast<unsigned>(__builtin_ctz(left));
    Fragments fragments;
    if (!waiting.FindShown(place, tile, fragments)) continue;
    if (!fragments.allLive) LoadColor(*step.args, tile);
    tile.colorHeld = true;
    fragments.writesDepth = false;
    DrawFragments(*step.args, *waiting.triangle[place], fragments, waiting.weights[place], step.ahead, tile);
  }
  waiting.taken = 0;
}

/// Makes room where all places are taken: those go that nothing shows of, or else all of them are drawn.
[[gnu::noinline]] void MakeRoom(StepDrawing& step) {
  WaitingTriangles& waiting = step.waiting;
  Fragments fragments;
  for (unsigned place = 0; place < WaitingTriangles::kMost; ++place) {
    if (!waiting.FindShown(place, step.tile, fragments)) waiting.taken &= ~(1u << place);
  }
  if (waiting.FreePlace() >= WaitingTriangles::kMost) DrawWaiting(step);
}

/// Lets an opaque triangle wait that passes at all pixels of the step.
LANE_FN void WaitEverywhere(StepDrawing& step, const TriangleRecord& t, const Edges& edges) {
  if (step.waiting.filling && !WritesDepth(t)) Fill(step);  // the depth of the one that goes may stay
  step.waiting.Add(t, 0, true);
  step.waiting.filling = true;
  step.waiting.fillEdges = &edges;
}

/// Lets an opaque triangle wait, as far as it passes.
[[gnu::noinline]] void Wait(StepDrawing& step, const TriangleRecord& t, const Edges& edges, Place at, DepthStep depth,
                            const DepthRange* range) {
  WaitingTriangles& waiting = step.waiting;
  Tile& tile = step.tile;
  if (waiting.filling) Fill(step);
  if (waiting.FreePlace() >= WaitingTriangles::kMost) MakeRoom(step);
  if (waiting.taken == 0) {  // as it may be only now: the notes tell of triangles that are drawn
    for (Ints& shows : tile.shows) shows = Splat(kShowsStored);
  }
  const unsigned place = waiting.FreePlace();
  Fragments fragments;
  const Search search = {t, tile, fragments, waiting.weights[place], Splat(static_cast<std::int32_t>(place))};
  if (!FindFragments<true>(*step.args, search, step.centres, edges, at, depth)) return;
  if (WritesAtOnce(depth)) {
    tile.depthDirty = true;
    tile.rangeKnown = fragments.allLive && range != nullptr;
    if (tile.rangeKnown) tile.range = *range;
  }
  waiting.Add(t, place, fragments.allLive);
}

}  // namespace
}  // namespace tlr2
