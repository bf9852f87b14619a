// One step over the lanes: the list's triangles, in order, into the step's pixels.
#pragma once

namespace tlr2 {
namespace {

LANE_FN void LoadDepth(const KernelFrameArgs& args, Tile& tile) {
  if (tile.depthLoaded) return;
  Ints words[kPlanes];
  LoadPlanes(tile, args.depthPixels, args.depthStrideBytes, words);
  for (int p = 0; p < kPlanes; ++p) tile.depth[p] = FromBits(words[p]);
  tile.depthLoaded = true;
}

/// Barycentrics and depth of one part of a plane. Returns its live lanes.
template <DepthStep kStep>
LANE_FN MaskPart FindPart(const TriangleRecord& t, Tile& tile, int plane, int part, const PartBarycentrics& w,
                          MaskPart covered, Fragments& fragments, Barycentrics (&weights)[kPlanes]) {
  SetPart(weights[plane], part, w);
  MaskPart live = covered;
  if constexpr (kStep != DepthStep::kNone) {
    const FloatsPart z = Weigh(w, t.z[0], t.z[1], t.z[2]);
    const FloatsPart stored = PartOf(tile.depth[plane], part);
    live = And(covered, DepthPasses<kStep>(t.depthFunc, z, stored));
    if constexpr (WritesAtOnce(kStep)) SetPart(tile.depth[plane], part, Select(live, z, stored));
    if constexpr (kStep == DepthStep::kKeep) SetPart(fragments.z[plane], part, z);
  }
  SetPart(fragments.live[plane], part, live);
  return live;
}

/// Fragments of a triangle whose edges hold the whole step. Returns whether any lane lives.
template <DepthStep kStep>
[[gnu::noinline]] bool FindEverywhere(const TriangleRecord& t, const Centres& centres, const Edges& edges, Tile& tile,
                                      Fragments& fragments, Barycentrics (&weights)[kPlanes]) {
  MaskPart any = NoLane(), all = AllLanesOfPart();
  VisitEdgeValues(centres, edges, [&](int plane, int part, const EdgeValues& values) __attribute__((always_inline)) {
    const MaskPart live = FindPart<kStep>(t, tile, plane, part, Scaled(Unscaled(values), edges.inverseArea),
                                          PartOf(tile.inBounds[plane], part), fragments, weights);
    any = Or(any, live);
    all = And(all, live);
  });
  fragments.allLive = All(all);
  return Any(any);
}

/// Covered lanes, and the barycentrics before scaling. Returns whether any lane is covered.
[[gnu::noinline]] bool FindCovered(const Centres& centres, const Edges& edges, const Tile& tile, Fragments& fragments,
                                   Barycentrics (&weights)[kPlanes]) {
  MaskPart any = NoLane();
  VisitEdgeValues(centres, edges, [&](int plane, int part, const EdgeValues& values) __attribute__((always_inline)) {
    const MaskPart covered = And(Inside(edges, values), PartOf(tile.inBounds[plane], part));
    SetPart(fragments.live[plane], part, covered);
    SetPart(weights[plane], part, Unscaled(values));
    any = Or(any, covered);
  });
  return Any(any);
}

/// The rest of what FindCovered leaves. Returns whether any lane lives.
template <DepthStep kStep>
[[gnu::noinline]] bool FindLive(const TriangleRecord& t, float inverseArea, Tile& tile, Fragments& fragments,
                                Barycentrics (&weights)[kPlanes]) {
  MaskPart any = NoLane();
  for (int plane = 0; plane < kPlanes; ++plane) {
    for (int part = 0; part < kParts; ++part) {
      any = Or(any, FindPart<kStep>(t, tile, plane, part, Scaled(PartOf(weights[plane], part), inverseArea),
                                    PartOf(fragments.live[plane], part), fragments, weights));
    }
  }
  return Any(any);
}

/// Coverage and depth of the four planes. Returns whether any lane lives.
LANE_FN bool FindFragments(const KernelFrameArgs& args, const TriangleRecord& t, const Centres& centres,
                           const TileCorners& corners, DepthStep step, Tile& tile, Fragments& fragments,
                           Barycentrics (&weights)[kPlanes]) {
  Edges edges;
  const Place place = SetUpEdges(t, corners, edges);
  if (place == Place::kNowhere) return false;
  if (place == Place::kPartly && !FindCovered(centres, edges, tile, fragments, weights)) return false;
  if (step != DepthStep::kNone) LoadDepth(args, tile);
  const auto find = [&]<DepthStep kStep>() __attribute__((always_inline)) {
    if (place == Place::kEverywhere) return FindEverywhere<kStep>(t, centres, edges, tile, fragments, weights);
    fragments.allLive = false;
    return FindLive<kStep>(t, edges.inverseArea, tile, fragments, weights);
  };
  switch (step) {
    case DepthStep::kNone:
      return find.template operator()<DepthStep::kNone>();
    case DepthStep::kLess:
      return find.template operator()<DepthStep::kLess>();
    case DepthStep::kLessWrite:
      return find.template operator()<DepthStep::kLessWrite>();
    case DepthStep::kLessEqual:
      return find.template operator()<DepthStep::kLessEqual>();
    case DepthStep::kLessEqualWrite:
      return find.template operator()<DepthStep::kLessEqualWrite>();
    default:
      return find.template operator()<DepthStep::kKeep>();
  }
}

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
  if (kernelMode != 1 || ahead < 2 || fragments.writesDepth || t.alphaTest != 0) return false;
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

LANE_FN void DrawStep(const KernelFrameArgs& args, const std::uint32_t* entries, std::int32_t entryCount, float bound,
                      Tile& tile) {
  const Centres centres = TileCentres(tile);
  const TileCorners corners = CornersOf(tile);
  int ahead = 4;  // planes that the last triangle came to shade: likely as many as the next one will
  for (std::int32_t i = 0; i < entryCount; ++i) {
    const TriangleRecord& t = args.triangles[entries[i]];
    if (BehindBound(t, bound)) continue;
    const DepthStep step = DepthStepOf(t);
    Fragments fragments;
    Barycentrics weights[kPlanes];
    if (!FindFragments(args, t, centres, corners, step, tile, fragments, weights)) continue;
    if (!tile.colorLoaded) {
      LoadPlanes(tile, args.colorPixels, args.colorStrideBytes, tile.color);
      tile.colorLoaded = tile.colorDirty = true;
    }
    fragments.writesDepth = step == DepthStep::kKeep && t.depthWrite != 0;
    if (fragments.writesDepth || WritesAtOnce(step)) tile.depthDirty = true;
    Surface surface;
    SetUpSurface(args, t, surface);
    if (DrawAsExpected(args.kernelMode, surface, weights, fragments, ahead, tile)) continue;
    if (fragments.writesDepth || t.alphaTest != 0 || Blends(t.blendMode)) {
      Draw<false>(args, surface, fragments, weights, ahead, tile);
    } else {
      Draw<true>(args, surface, fragments, weights, ahead, tile);
    }
  }
  FinishTile(args, tile);
}

}  // namespace
}  // namespace tlr2
