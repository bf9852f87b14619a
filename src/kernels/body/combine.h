// The fragment colour of a plane or of one part of it: interpolated, sampled, combined by the texture environment.
#pragma once

namespace tlr2 {
namespace {

template <typename Lanes>
LANE_FN Lanes ScaledProduct(Lanes x, Lanes y) {
  return Mul(Mul(x, y), Splat(kByteScale));
}
/// x*k + y*(1-k), the first product rounded.
template <typename Lanes>
LANE_FN Lanes Mix(Lanes x, Lanes y, Lanes k) {
  return MulAdd(y, Sub(Splat(1.0f), k), Mul(x, k));
}

template <typename Lanes>
LANE_FN ColorOf<Lanes> Combine(std::uint32_t mode, std::uint32_t environment, const ColorOf<Lanes>& fragment,
                               const ColorOf<Lanes>& texel) {
  switch (mode) {
    case 1:
      return texel;
    case 2: {
      const Lanes k = Mul(texel.a, Splat(kByteScale));
      return {Mix(texel.r, fragment.r, k), Mix(texel.g, fragment.g, k), Mix(texel.b, fragment.b, k), fragment.a};
    }
    case 3: {
      const auto channel = [environment](Lanes t, Lanes f, int shift) __attribute__((always_inline)) {
        const Lanes k = Mul(t, Splat(kByteScale));
        return MulAdd(Sub(Splat(1.0f), k), f, Mul(k, Splat(ByteAsFloat(environment, shift))));
      };
      return {channel(texel.r, fragment.r, 16), channel(texel.g, fragment.g, 8), channel(texel.b, fragment.b, 0),
              ScaledProduct(fragment.a, texel.a)};
    }
    default:
      return {ScaledProduct(fragment.r, texel.r), ScaledProduct(fragment.g, texel.g),
              ScaledProduct(fragment.b, texel.b), ScaledProduct(fragment.a, texel.a)};
  }
}

template <typename Lanes>
LANE_FN ColorOf<Lanes> ConstantColor(const Surface& surface) {
  return {Splat(surface.color[0]), Splat(surface.color[1]), Splat(surface.color[2]), Splat(surface.color[3])};
}

/// For a surface that is not of one colour everywhere. The only function that a kernel calls: inlined wherever a plane
/// is shaded, it would not fit the instruction cache.
template <typename Lanes>
[[gnu::noinline]] void Shade(const Surface& surface, const BarycentricsOf<Lanes>& w, ColorOf<Lanes>& out) {
  const TriangleRecord& t = *surface.triangle;
  ColorOf<Lanes> fragment = ConstantColor<Lanes>(surface);
  const Lanes perspectiveW = PerspectiveW(surface, w);
  if (!surface.constantColor) {
    fragment = {Interpolate(surface.channel[0], w, perspectiveW), Interpolate(surface.channel[1], w, perspectiveW),
                Interpolate(surface.channel[2], w, perspectiveW), Interpolate(surface.channel[3], w, perspectiveW)};
  }
  if (surface.texture == nullptr) {
    out = fragment;
    return;
  }
  const ColorOf<Lanes> texel = SampleTexture(*surface.texture, t.filterMode, Interpolate(surface.s, w, perspectiveW),
                                             Interpolate(surface.t, w, perspectiveW));
  out = Combine(t.texEnvMode, t.texEnvColor, fragment, texel);
}

/// Parts of a plane, a bit each.
using PartSet = unsigned;
constexpr PartSet kAllParts = (1u << kParts) - 1;

/// Parts with a live lane.
LANE_FN PartSet LiveParts(const Mask& live) {
  PartSet parts = 0;
  for (int i = 0; i < kParts; ++i) parts |= static_cast<PartSet>(Any(PartOf(live, i))) << i;
  return parts;
}

/// The others keep what they hold. All parts together go side by side, which hides their latencies.
LANE_FN void ShadeParts(const Surface& surface, const Barycentrics& w, PartSet parts, Color& color) {
  if (parts == kAllParts) {
    Shade(surface, w, color);
    return;
  }
  const int part = __builtin_ctz(parts);
  ColorOf<FloatsPart> c;
  Shade(surface, PartOf(w, part), c);
  SetPart(color.r, part, c.r);
  SetPart(color.g, part, c.g);
  SetPart(color.b, part, c.b);
  SetPart(color.a, part, c.a);
}

}  // namespace
}  // namespace tlr2
