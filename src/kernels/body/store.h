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
  Mask live = fragments.live[plane];
  if constexpr (!kOpaque) {
    if (t.alphaTest != 0) live = And(live, AlphaPasses(source));
    if (Blends(t.blendMode)) {
      const Color result = Blend(t.blendMode, source, UnpackBytes(tile.color[plane]));
      words = PackBytes(result.r, result.g, result.b, result.a);
    }
  }
  tile.color[plane] = Select(live, words, tile.color[plane]);
  if constexpr (!kOpaque) {
    if (fragments.writesDepth) tile.depth[plane] = Select(live, fragments.z[plane], tile.depth[plane]);
    if (t.alphaTest != 0) tile.shows[plane] = Select(live, Ints{Splat(kShowsStored)}, tile.shows[plane]);
  }
}

}  // namespace
}  // namespace tlr2
