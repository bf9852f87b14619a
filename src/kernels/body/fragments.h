// What a triangle leaves of itself in the step: the lanes that it covers and that pass the depth test.
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

LANE_FN void FindStoredRange(const KernelFrameArgs& args, Tile& tile) {
  if (tile.rangeKnown) return;
  LoadDepth(args, tile);
  FindLoadedRange(tile);
}

/// A triangle being looked for. Its weights are set for all lanes; its fragments only if it does not wait, but for
/// `allLive`. One that waits marks its pixels instead.
struct Search {
  const TriangleRecord& triangle;
  Tile& tile;
  Fragments& fragments;
  Barycentrics (&weights)[kPlanes];
  IntsPart mark;
};

/// The same with what all parts need in registers, out of reach of what is written meanwhile.
template <DepthStep kStep, bool kWaits>
struct PartFinder {
  Tile& tile;
  Fragments& fragments;
  Barycentrics (&weights)[kPlanes];
  const IntsPart mark;
  const Vertices depths;
  const FloatsPart inverseArea;
  const std::uint32_t depthFunction;

  LANE_FN PartFinder(const Search& s, const Edges& edges)
      : tile(s.tile),
        fragments(s.fragments),
        weights(s.weights),
        mark(s.mark),
        depths(SplatVertices(s.triangle.z[0], s.triangle.z[1], s.triangle.z[2])),
        inverseArea(Splat(edges.inverseArea)),
        depthFunction(s.triangle.depthFunc) {}

  /// Barycentrics and depth of one part of a plane. Returns its live lanes.
  LANE_FN MaskPart Find(int plane, int part, const PartBarycentrics& unscaled, MaskPart covered) const {
    const PartBarycentrics w = Scaled(unscaled, inverseArea);
    SetPart(weights[plane], part, w);
    MaskPart live = covered;
    if constexpr (kStep != DepthStep::kNone) {
      const FloatsPart z = Weigh(w, depths);
      const FloatsPart stored = PartOf(tile.depth[plane], part);
      live = And(covered, DepthPasses<kStep>(depthFunction, z, stored));
      if constexpr (WritesAtOnce(kStep)) SetPart(tile.depth[plane], part, Select(live, z, stored));
      if constexpr (kStep == DepthStep::kKeep) SetPart(fragments.z[plane], part, z);
    }
    if constexpr (kWaits) {
      SetPart(tile.shows[plane], part, Select(live, mark, PartOf(tile.shows[plane], part)));
    } else {
      SetPart(fragments.live[plane], part, live);
    }
    return live;
  }
  /// Barycentrics and depth of one part of a plane at all pixels of which the triangle is known to pass.
  LANE_FN void Fill(int plane, int part, const PartBarycentrics& unscaled) const {
    const PartBarycentrics w = Scaled(unscaled, inverseArea);
    SetPart(weights[plane], part, w);
    if constexpr (kStep != DepthStep::kNone) SetPart(tile.depth[plane], part, Weigh(w, depths));
  }
};

/// Fragments of a triangle whose edges hold the whole step. Returns whether any lane lives.
template <DepthStep kStep, bool kWaits>
[[gnu::noinline]] bool FindEverywhere(const Search& search, const Centres& centres, const Edges& edges) {
  const PartFinder<kStep, kWaits> finder(search, edges);
  MaskPart any = NoLane(), all = AllLanesOfPart();
  VisitEdgeValues(centres, edges, [&](int plane, int part, const EdgeValues& values) __attribute__((always_inline)) {
    const MaskPart live = finder.Find(plane, part, Unscaled(values), PartOf(finder.tile.inBounds[plane], part));
    any = Or(any, live);
    all = And(all, live);
  });
  search.fragments.allLive = All(all);
  return Any(any);
}

/// The same of one that waits and is known to pass wherever it lies: only the depth is written, or not even that.
template <bool kWritesDepth>
[[gnu::noinline]] void FillEverywhere(const Search& search, const Centres& centres, const Edges& edges) {
  const PartFinder<kWritesDepth ? DepthStep::kOtherWrite : DepthStep::kNone, true> finder(search, edges);
  VisitEdgeValues(centres, edges, [&](int plane, int part, const EdgeValues& values) __attribute__((always_inline)) {
    finder.Fill(plane, part, Unscaled(values));
  });
  for (Ints& shows : search.tile.shows) shows = search.mark;
}

/// Covered lanes, and the barycentrics before scaling. Returns whether any lane is covered.
[[gnu::noinline]] bool FindCovered(const Centres& centres, const Edges& edges, const Tile& tile, Fragments& fragments,
                                   Barycentrics (&weights)[kPlanes]) {
  const bool positive = edges.positive;
  const Vertices bias = SplatVertices(edges.bias[0], edges.bias[1], edges.bias[2]);
  MaskPart any = NoLane();
  VisitEdgeValues(centres, edges, [&](int plane, int part, const EdgeValues& values) __attribute__((always_inline)) {
    const MaskPart covered = And(Inside(positive, bias, values), PartOf(tile.inBounds[plane], part));
    SetPart(fragments.live[plane], part, covered);
    SetPart(weights[plane], part, Unscaled(values));
    any = Or(any, covered);
  });
  return Any(any);
}

/// The rest of what FindCovered leaves. Returns whether any lane lives.
template <DepthStep kStep, bool kWaits>
[[gnu::noinline]] bool FindLive(const Search& search, const Edges& edges) {
  const PartFinder<kStep, kWaits> finder(search, edges);
  MaskPart any = NoLane();
  for (int plane = 0; plane < kPlanes; ++plane) {
    for (int part = 0; part < kParts; ++part) {
      const MaskPart covered = PartOf(finder.fragments.live[plane], part);
      any = Or(any, finder.Find(plane, part, PartOf(finder.weights[plane], part), covered));
    }
  }
  return Any(any);
}

/// Coverage and depth of the four planes, at some pixels of which the triangle lies. Returns whether any lane lives.
template <bool kWaits>
LANE_FN bool FindFragments(const KernelFrameArgs& args, const Search& search, const Centres& centres,
                           const Edges& edges, Place place, DepthStep step) {
  Fragments& fragments = search.fragments;
  if (place == Place::kPartly && !FindCovered(centres, edges, search.tile, fragments, search.weights)) return false;
  if (step != DepthStep::kNone) LoadDepth(args, search.tile);
  const auto find = [&]<DepthStep kStep>() __attribute__((always_inline)) {
    if (place == Place::kEverywhere) return FindEverywhere<kStep, kWaits>(search, centres, edges);
    fragments.allLive = false;
    return FindLive<kStep, kWaits>(search, edges);
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
    case DepthStep::kOther:
      return find.template operator()<DepthStep::kOther>();
    case DepthStep::kOtherWrite:
      return find.template operator()<DepthStep::kOtherWrite>();
    case DepthStep::kKeep:
      if constexpr (!kWaits) return find.template operator()<DepthStep::kKeep>();
      return false;
  }
  return false;
}

}  // namespace
}  // namespace tlr2
