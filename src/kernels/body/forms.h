// One step over the lanes: the list's triangles, in order, into the step's pixels.
#pragma once

namespace tlr2 {
namespace {

/// Every plane shaded on its own. Planes are done within the triangle's turn: no plane reads what another one writes,
/// so each pixel sees the same steps as with the planes outermost, without setting the triangles up four times.
template <bool kOpaque>
LANE_FN void DrawUnshared(const Surface& surface, const Fragments& fragments, const Barycentrics (&weights)[kPlanes],
                          Tile& tile) {
  Color slots[kPlanes];
  SomeUnits units;
  PartSet parts[kPlanes];
  for (int p = 0; p < kPlanes; ++p) units.Add(p, parts[p] = LiveParts(fragments.live[p]));
  Shade(surface, weights, units.List(), slots);
  for (int p = 0; p < kPlanes; ++p) {
    if (parts[p] == 0) continue;
    StorePlane<kOpaque>(tile, *surface.triangle, fragments, p, slots[p],
                        OwnWords<kOpaque>(*surface.triangle, slots[p]));
  }
}

/// The common triangles: those that fill a tile with modulated texels, and opaque ones that most likely share as the
/// last one did. Returns false for others, with nothing drawn.
[[gnu::noinline]] bool DrawAsExpected(std::int32_t kernelMode, const Surface& surface,
                                      const Barycentrics (&weights)[kPlanes], const Fragments& fragments, int& ahead,
                                      Tile& tile) {
  const TriangleRecord& t = *surface.triangle;
  if (kernelMode != 1 || ahead < 2 || t.alphaTest != 0) return false;
  const bool opaque = !Blends(t.blendMode);
  if (surface.texture == nullptr) {
    return opaque && ahead == 2 && DrawGradient(surface, weights, fragments, tile);
  }
  if (t.texEnvMode != 0) return false;
  if (fragments.allLive) {
    if (opaque) {
      ahead = surface.constantColor ? DrawWhole<true, true>(surface, weights, ahead, tile)
                                    : DrawWhole<true, false>(surface, weights, ahead, tile);
    } else {
      ahead = surface.constantColor ? DrawWhole<false, true>(surface, weights, ahead, tile)
                                    : DrawWhole<false, false>(surface, weights, ahead, tile);
    }
    return true;
  }
  return opaque && ahead == 4 && surface.constantColor && t.filterMode == 0 &&
         DrawOwn(surface, weights, fragments, tile);
}

template <bool kOpaque>
LANE_FN void DrawShared(const Surface& surface, const Fragments& fragments, const Barycentrics (&weights)[kPlanes],
                        bool shareAll, int& ahead, Tile& tile) {
  Color slots[kPlanes];
  const auto store = [&](int p, int slot) __attribute__((always_inline)) {
    StorePlane<kOpaque>(tile, *surface.triangle, fragments, p, slots[slot],
                        OwnWords<kOpaque>(*surface.triangle, slots[slot]));
  };
  const bool packed = kGroupsOfPart > 1 && !fragments.allLive && !shareAll && ahead == 4 &&
                      surface.texture != nullptr && surface.triangle->filterMode == 1;
  const Sharing sharing = packed ? ShadePacked(surface, weights, fragments, slots)
                                 : ShadeShared(surface, weights, fragments, shareAll, ahead, slots);
  ahead = sharing == Sharing::kOne ? 1 : sharing <= Sharing::kMiddle ? 2 : sharing == Sharing::kAveraged ? 3 : 4;
  switch (sharing) {
    case Sharing::kOne: {
      const Ints words = OwnWords<kOpaque>(*surface.triangle, slots[0]);
      for (int p = 0; p < kPlanes; ++p) StorePlane<kOpaque>(tile, *surface.triangle, fragments, p, slots[0], words);
      return;
    }
    case Sharing::kDiagonal:
      return store(0, 0), store(3, 3);
    case Sharing::kMiddle: {
      const Ints words = OwnWords<kOpaque>(*surface.triangle, slots[1]);
      store(0, 0);
      StorePlane<kOpaque>(tile, *surface.triangle, fragments, 1, slots[1], words);
      StorePlane<kOpaque>(tile, *surface.triangle, fragments, 2, slots[1], words);
      return store(3, 3);
    }
    case Sharing::kThree:
      return store(0, 0), store(2, 2), store(3, 3);
    case Sharing::kAveraged:
    case Sharing::kNone:
      return store(0, 0), store(1, 1), store(2, 2), store(3, 3);
  }
}

/// One colour in all lanes: nothing varies, so the planes share it whatever the mode, and it packs to its own bytes.
template <bool kOpaque>
LANE_FN void DrawConstant(const Surface& surface, const Fragments& fragments, Tile& tile) {
  const Ints words = Splat(static_cast<std::int32_t>(surface.triangle->color[0]));
  const PartColor c = ConstantColor(surface);
  const Color color = {c.r, c.g, c.b, c.a};
  for (int p = 0; p < kPlanes; ++p) StorePlane<kOpaque>(tile, *surface.triangle, fragments, p, color, words);
}

template <bool kOpaque>
LANE_FN void Draw(const KernelFrameArgs& args, const Surface& surface, const Fragments& fragments,
                  const Barycentrics (&weights)[kPlanes], int& ahead, Tile& tile) {
  if (surface.constantColor && surface.texture == nullptr) {
    DrawConstant<kOpaque>(surface, fragments, tile);
  } else if (args.kernelMode == 0) {
    DrawUnshared<kOpaque>(surface, fragments, weights, tile);
  } else {
    DrawShared<kOpaque>(surface, fragments, weights, args.kernelMode != 1, ahead, tile);
  }
}

LANE_FN void FinishTile(const KernelFrameArgs& args, Tile& tile) {
  if (tile.colorDirty) StorePlanes(tile, args.colorPixels, args.colorStrideBytes, tile.color);
  if (!tile.depthDirty) return;
  Ints words[kPlanes];
  for (int p = 0; p < kPlanes; ++p) words[p] = Bits(tile.depth[p]);
  StorePlanes(tile, args.depthPixels, args.depthStrideBytes, words);
}

/// Draws a triangle's fragments, on to the colours that are there.
LANE_FN void DrawFragments(const KernelFrameArgs& args, const TriangleRecord& t, const Fragments& fragments,
                           const Barycentrics (&weights)[kPlanes], int& ahead, Tile& tile) {
  Surface surface;
  SetUpSurface(args, t, surface);
  if (DrawAsExpected(args.kernelMode, surface, weights, fragments, ahead, tile)) return;
  if (t.alphaTest != 0 || Blends(t.blendMode)) {
    Draw<false>(args, surface, fragments, weights, ahead, tile);
  } else {
    Draw<true>(args, surface, fragments, weights, ahead, tile);
  }
}

LANE_FN void LoadColor(const KernelFrameArgs& args, Tile& tile) {
  if (!tile.colorLoaded) LoadPlanes(tile, args.colorPixels, args.colorStrideBytes, tile.color);
  tile.colorLoaded = tile.colorDirty = true;
}

/// Opaque triangles wait: their depth is written in their turn, their colour when it is asked for. Until then the tile
/// notes which of them each pixel shows, so that what later ones draw over is never shaded.
struct WaitingTriangles {
  static constexpr unsigned kMost = 8;

  const TriangleRecord* triangle[kMost];
  Barycentrics weights[kMost][kPlanes];
  unsigned taken = 0;  // a bit for each place that has a triangle

  /// A place to put the next one at; there is one.
  LANE_FN unsigned FreePlace() const { return static_cast<unsigned>(__builtin_ctz(~taken)); }

  /// The fragments of the triangle at `place` that still show. Returns whether there are any.
  LANE_FN bool FindShown(unsigned place, const Tile& tile, Fragments& fragments) const {
    const Ints mark = Splat(static_cast<std::int32_t>(place));
    for (int p = 0; p < kPlanes; ++p) fragments.live[p] = Equal(tile.shows[p], mark);
    const Mask(&live)[kPlanes] = fragments.live;
    fragments.allLive = All(And(And(live[0], live[1]), And(live[2], live[3])));
    return Any(Or(Or(live[0], live[1]), Or(live[2], live[3])));
  }
};

/// Draws what shows of the triangles that wait.
[[gnu::noinline]] void DrawWaiting(const KernelFrameArgs& args, WaitingTriangles& waiting, int& ahead, Tile& tile) {
  for (unsigned left = waiting.taken; left != 0; left &= left - 1) {
    const unsigned place = static_cast<unsigned>(__builtin_ctz(left));
    Fragments fragments;
    if (!waiting.FindShown(place, tile, fragments)) continue;
    if (!fragments.allLive) LoadColor(args, tile);
    tile.colorLoaded = tile.colorDirty = true;
    fragments.writesDepth = false;
    DrawFragments(args, *waiting.triangle[place], fragments, waiting.weights[place], ahead, tile);
  }
  waiting.taken = 0;
}

/// Makes room where all places are taken: those go that nothing shows of, or else all of them are drawn.
[[gnu::noinline]] void MakeRoom(const KernelFrameArgs& args, WaitingTriangles& waiting, int& ahead, Tile& tile) {
  Fragments fragments;
  for (unsigned place = 0; place < WaitingTriangles::kMost; ++place) {
    if (!waiting.FindShown(place, tile, fragments)) waiting.taken &= ~(1u << place);
  }
  if (waiting.FreePlace() >= WaitingTriangles::kMost) DrawWaiting(args, waiting, ahead, tile);
}

LANE_FN void DrawStep(const KernelFrameArgs& args, const std::uint32_t* entries, std::int32_t entryCount, float bound,
                      Tile& tile) {
  const Centres centres = TileCentres(tile);
  const TileCorners corners = CornersOf(tile);
  WaitingTriangles waiting;
  int ahead = 4;  // planes that the last triangle came to shade: likely as many as the next one will
  for (std::int32_t i = 0; i < entryCount; ++i) {
    const TriangleRecord& t = args.triangles[entries[i]];
    if (BehindBound(t, bound)) continue;
    const DepthStep step = DepthStepOf(t);
    Fragments fragments;
    if (t.alphaTest == 0 && !Blends(t.blendMode)) {
      if (waiting.taken == 0) {
        for (Ints& shows : tile.shows) shows = Splat(kShowsStored);
      }
      if (waiting.FreePlace() >= WaitingTriangles::kMost) MakeRoom(args, waiting, ahead, tile);
      const unsigned place = waiting.FreePlace();
      const Search search = {t, tile, fragments, waiting.weights[place], Splat(static_cast<std::int32_t>(place))};
      if (!FindFragments<true>(args, search, centres, corners, step)) continue;
      if (WritesAtOnce(step)) tile.depthDirty = true;
      if (fragments.allLive) waiting.taken = 0;
      waiting.taken |= 1u << place;
      waiting.triangle[place] = &t;
      continue;
    }
    Barycentrics weights[kPlanes];
    const Search search = {t, tile, fragments, weights, Splat(kShowsStored)};
    if (!FindFragments<false>(args, search, centres, corners, step)) continue;
    if (waiting.taken != 0 && Blends(t.blendMode)) DrawWaiting(args, waiting, ahead, tile);
    LoadColor(args, tile);
    fragments.writesDepth = step == DepthStep::kKeep && t.depthWrite != 0;
    if (fragments.writesDepth || WritesAtOnce(step)) tile.depthDirty = true;
    DrawFragments(args, t, fragments, weights, ahead, tile);
  }
  if (waiting.taken != 0) DrawWaiting(args, waiting, ahead, tile);
  FinishTile(args, tile);
}

}  // namespace
}  // namespace tlr2
