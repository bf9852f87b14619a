// One step over the lanes: the list's triangles, in order, into the step's pixels.
#pragma once

namespace tlr2 {
namespace {

/// Coverage and depth of the four planes. Returns whether any lane lives.
LANE_FN bool FindFragments(const KernelFrameArgs& args, const TriangleRecord& t, const Centres& centres,
                           const TileCorners& corners, Tile& tile, Fragments& fragments,
                           Barycentrics (&weights)[kPlanes]) {
  Edges edges;
  const Place place = SetUpEdges(t, corners, edges);
  if (place == Place::kNowhere) return false;
  if (!CoverTile(tile, centres, edges, place == Place::kEverywhere, fragments.live, weights)) return false;
  if (t.depthTest == 0) return true;
  if (!tile.depthLoaded) {
    Ints words[kPlanes];
    LoadPlanes(tile, args.depthPixels, args.depthStrideBytes, words);
    for (int p = 0; p < kPlanes; ++p) tile.depth[p] = FromBits(words[p]);
    tile.depthLoaded = true;
  }
  for (int p = 0; p < kPlanes; ++p) {
    fragments.z[p] = Weigh(weights[p], t.z[0], t.z[1], t.z[2]);
    fragments.live[p] = DepthPasses(t.depthFunc, fragments.z[p], tile.depth[p], fragments.live[p]);
  }
  return Any(Or(Or(fragments.live[0], fragments.live[1]), Or(fragments.live[2], fragments.live[3])));
}

/// Every plane shaded on its own. Planes are done within the triangle's turn: no plane reads what another one writes,
/// so each pixel sees the same steps as with the planes outermost, without setting the triangles up four times.
LANE_FN void DrawUnshared(const Surface& surface, const Fragments& fragments, const Barycentrics (&weights)[kPlanes],
                          Tile& tile) {
  for (int p = 0; p < kPlanes; ++p) {
    const PartSet parts = LiveParts(fragments.live[p]);
    if (parts == 0) continue;
    Color color;
    ShadeParts(surface, weights[p], parts, color);
    StorePlane(tile, *surface.triangle, fragments, p, color, PackColor(color));
  }
}

LANE_FN void DrawShared(const Surface& surface, const Fragments& fragments, const Barycentrics (&weights)[kPlanes],
                        bool shareAll, Tile& tile) {
  Slots slots;
  ShadeShared(surface, weights, fragments.live, shareAll, slots);
  Ints words[kPlanes];
  for (int p = 0; p < kPlanes; ++p) {
    const int from = slots.of[p];
    words[p] = from == p ? PackColor(slots.color[p]) : words[from];
    StorePlane(tile, *surface.triangle, fragments, p, slots.color[from], words[p]);
  }
}

/// One colour in all lanes: nothing varies, so the planes share it whatever the mode, and it packs to its own bytes.
LANE_FN void DrawConstant(const Surface& surface, const Fragments& fragments, Tile& tile) {
  const Color color = ConstantColor<Floats>(surface);
  const Ints words = Splat(static_cast<std::int32_t>(surface.triangle->color[0]));
  for (int p = 0; p < kPlanes; ++p) StorePlane(tile, *surface.triangle, fragments, p, color, words);
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
  for (std::int32_t i = 0; i < entryCount; ++i) {
    const TriangleRecord& t = args.triangles[entries[i]];
    if (BehindBound(t, bound)) continue;
    Fragments fragments;
    Barycentrics weights[kPlanes];
    if (!FindFragments(args, t, centres, corners, tile, fragments, weights)) continue;
    if (!tile.colorLoaded) {
      LoadPlanes(tile, args.colorPixels, args.colorStrideBytes, tile.color);
      tile.colorLoaded = tile.colorDirty = true;
    }
    if (t.depthTest != 0 && t.depthWrite != 0) tile.depthDirty = true;
    Surface surface;
    SetUpSurface(args, t, surface);
    if (surface.constantColor && surface.texture == nullptr) {
      DrawConstant(surface, fragments, tile);
    } else if (args.kernelMode == 0) {
      DrawUnshared(surface, fragments, weights, tile);
    } else {
      DrawShared(surface, fragments, weights, args.kernelMode != 1, tile);
    }
  }
  FinishTile(args, tile);
}

}  // namespace
}  // namespace tlr2
