// The end of a plane: alpha test, blend, conversion to bytes, colour and then depth.
#pragma once

namespace tlr2 {
namespace {

/// What coverage and the depth test left of a triangle in this tile.
struct Fragments {
  Mask live[kPlanes];
  Floats z[kPlanes];
};

LANE_FN void StoreColor(Tile& tile, int plane, Mask live, Ints words) {
  tile.color[plane] = Select(live, words, tile.color[plane]);
}

/// `words` are the packed fragments where nothing blends.
LANE_FN void StorePlane(Tile& tile, const TriangleRecord& t, const Fragments& fragments, int plane, const Color& source,
                        Ints words) {
  Mask live = fragments.live[plane];
  if (t.alphaTest != 0) live = And(live, AlphaPasses(source));
  if (Blends(t.blendMode)) {
    const Color result = Blend(t.blendMode, source, UnpackBytes(tile.color[plane]));
    words = PackBytes(result.r, result.g, result.b, result.a);
  }
  StoreColor(tile, plane, live, words);
  if (t.depthTest != 0 && t.depthWrite != 0) {
    tile.depth[plane] = Select(live, fragments.z[plane], tile.depth[plane]);
  }
}

}  // namespace
}  // namespace tlr2
