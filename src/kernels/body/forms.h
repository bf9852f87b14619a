// A triangle's fragments drawn: shaded as the mode says, and on to the colours that are there.
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

}  // namespace
}  // namespace tlr2
