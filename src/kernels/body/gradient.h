// Triangles of interpolated colours without a texture, as they mostly come: varying so gently that planes 1 and 2 take
// the middle of the other two. Everything stays in registers until it is packed, and what decides comes last.
#pragma once

namespace tlr2 {
namespace {

/// Whether all parts of planes 0 and 3 have their say: a live lane of planes 1 and 2 depends on each.
LANE_FN bool WantsMiddle(const Fragments& fragments) {
  return fragments.allLive || LiveParts(Or(fragments.live[1], fragments.live[2])) == kAllParts;
}

/// Draws an opaque triangle. Returns whether its planes do share so; where they do not, nothing is drawn.
[[gnu::noinline]] bool DrawGradient(const Surface& surface, const Barycentrics (&weights)[kPlanes],
                                    const Fragments& fragments, Tile& tile) {
  if (surface.constantColor || !WantsMiddle(fragments)) return false;
  const float* w = surface.triangle->invW;
  const Vertices invW = SplatVertices(w[0], w[1], w[2]);
  const VertexColors colors = SplatColors(surface);
  const FloatsPart one = Splat(1.0f), half = Splat(0.5f);
  Ints first, middle, last;
  Floats firstLuminance, lastLuminance;
  for (int part = 0; part < kParts; ++part) {
    const PartBarycentrics b = PartOf(weights[0], part), e = PartOf(weights[3], part);
    const PartColor c = InterpolateColor(colors, b, Div(one, Weigh(b, invW)));
    const PartColor d = InterpolateColor(colors, e, Div(one, Weigh(e, invW)));
    SetPart(firstLuminance, part, Luminance(c));
    SetPart(lastLuminance, part, Luminance(d));
    SetPart(first, part, PackBytes(c.r, c.g, c.b, c.a));
    SetPart(last, part, PackBytes(d.r, d.g, d.b, d.a));
    SetPart(middle, part,
            PackBytes(Mul(Add(c.r, d.r), half), Mul(Add(c.g, d.g), half), Mul(Add(c.b, d.b), half),
                      Mul(Add(c.a, d.a), half)));
  }
  if (StatisticBelow(firstLuminance, kRootAll, kShareAll)) return false;
  if (!StatisticBelow(lastLuminance, kRootDiagonal, kShareDiagonal)) return false;
  const Ints words[kPlanes] = {first, middle, middle, last};
  for (int p = 0; p < kPlanes; ++p) {
    tile.color[p] = fragments.allLive ? words[p] : Select(fragments.live[p], words[p], tile.color[p]);
  }
  return true;
}

}  // namespace
}  // namespace tlr2
