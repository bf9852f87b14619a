// The end of a plane: alpha test, blend, conversion to bytes, colour and then depth.
#pragma once

namespace tlr2 {
namespace {

/// What coverage and the depth test left of a triangle in this tile.
struct Fragments {
  Mask live[kPlanes];
  bool allLive;       // all lanes of all planes; where it is false they may be all the same
  Floats z[kPlanes];  // where the depth is yet to be written
  bool writesDepth;
};

/// The fragments' own bytes, where they are what is stored; else anything.
template <bool kOpaque>
LANE_FN Ints OwnWords(const TriangleRecord& t, const Color& source) {
  if (!kOpaque && Blends(t.blendMode)) return Splat(0);
  return PackColor(source);
}

/// `words` are OwnWords of `source`. Opaque fragments meet no alpha test, blend with nothing, and have left their
/// depth.
template <bool kOpaque>
LANE_FN void StorePlane(Tile& tile, const TriangleRecord& t, const Fragments& fragments, int plane, const Color& source,
                        Ints words) {
  if (kOpaque && fragments.allLive) {
    tile.color[plane] = words;
    return;
  }
  if constexpr (kOpaque) {
    tile.color[plane] = Select(fragments.live[plane], words, tile.color[plane]);
    return;
  }
  for (int i = 0; i < kParts; ++i) {
    MaskPart live = PartOf(fragments.live[plane], i);
    if (kParts > 1 && !Any(live)) continue;
    const PartColor c = {PartOf(source.r, i), PartOf(source.g, i), PartOf(source.b, i), PartOf(source.a, i)};
    if (t.alphaTest != 0) live = And(live, AlphaPasses(c));
    const IntsPart stored = PartOf(tile.color[plane], i);
    IntsPart own = PartOf(words, i);
    if (Blends(t.blendMode)) {
      const PartColor result = Blend(t.blendMode, c, UnpackBytes(stored));
      own = PackBytes(result.r, result.g, result.b, result.a);
    }
    SetPart(tile.color[plane], i, Select(live, own, stored));
    if (fragments.writesDepth) {
      SetPart(tile.depth[plane], i, Select(live, PartOf(fragments.z[plane], i), PartOf(tile.depth[plane], i)));
    }
    if (t.alphaTest != 0) {
      SetPart(tile.shows[plane], i, Select(live, IntsPart{Splat(kShowsStored)}, PartOf(tile.shows[plane], i)));
    }
  }
}

}  // namespace
}  // namespace tlr2
