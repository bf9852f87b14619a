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

/// A triangle being looked for. Its weights are set for all lanes; its fragments only if it does not wait, but for
/// `allLive`. One that waits marks its pixels instead.
struct Search {
  const TriangleRecord& triangle;
  Tile& tile;
  Fragments& fragments;
  Barycentrics (&weights)[kPlanes];
  IntsPart mark;
};

/// Barycentrics and depth of one part of a plane. Returns its live lanes.
template <DepthStep kStep, bool kWaits>
LANE_FN MaskPart FindPart(const Search& search, int plane, int part, const PartBarycentrics& w, MaskPart covered) {
  Tile& tile = search.tile;
  SetPart(search.weights[plane], part, w);
  MaskPart live = covered;
  if constexpr (kStep != DepthStep::kNone) {
    const TriangleRecord& t = search.triangle;
    const FloatsPart z = Weigh(w, t.z[0], t.z[1], t.z[2]);
    const FloatsPart stored = PartOf(tile.depth[plane], part);
    live = And(covered, DepthPasses<kStep>(t.depthFunc, z, stored));
    if constexpr (WritesAtOnce(kStep)) SetPart(tile.depth[plane], part, Select(live, z, stored));
    if constexpr (kStep == DepthStep::kKeep) SetPart(search.fragments.z[plane], part, z);
  }
  if constexpr (kWaits) {
    SetPart(tile.shows[plane], part, Select(live, search.mark, PartOf(tile.shows[plane], part)));
  } else {
    SetPart(search.fragments.live[plane], part, live);
  }
  return live;
}

/// Fragments of a triangle whose edges hold the whole step. Returns whether any lane lives.
template <DepthStep kStep, bool kWaits>
[[gnu::noinline]] bool FindEverywhere(const Search& search, const Centres& centres, const Edges& edges) {
  MaskPart any = NoLane(), all = AllLanesOfPart();
  VisitEdgeValues(centres, edges, [&](int plane, int part, const EdgeValues& values) __attribute__((always_inline)) {
    const MaskPart live = FindPart<kStep, kWaits>(search, plane, part, Scaled(Unscaled(values), edges.inverseArea),
                                                  PartOf(search.tile.inBounds[plane], part));
    any = Or(any, live);
    all = And(all, live);
  });
  search.fragments.allLive = All(all);
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
template <DepthStep kStep, bool kWaits>
[[gnu::noinline]] bool FindLive(const Search& search, float inverseArea) {
  MaskPart any = NoLane();
  for (int plane = 0; plane < kPlanes; ++plane) {
    for (int part = 0; part < kParts; ++part) {
      const PartBarycentrics w = Scaled(PartOf(search.weights[plane], part), inverseArea);
      any = Or(any, FindPart<kStep, kWaits>(search, plane, part, w, PartOf(search.fragments.live[plane], part)));
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
    return FindLive<kStep, kWaits>(search, edges.inverseArea);
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
    case DepthStep::kWrite:
      return false;  // for what needs no search
    case DepthStep::kKeep:
      if constexpr (!kWaits) return find.template operator()<DepthStep::kKeep>();
      return false;
  }
  return false;
}

}  // namespace
}  // namespace tlr2
