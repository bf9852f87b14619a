// A plane's fragment colour: interpolated, sampled, combined by the texture environment.
#pragma once

namespace tlr2 {
namespace {

LANE_FN Floats ScaledProduct(Floats x, Floats y) { return Mul(Mul(x, y), Splat(kByteScale)); }
/// x*k + y*(1-k), the first product rounded.
LANE_FN Floats Mix(Floats x, Floats y, Floats k) { return MulAdd(y, Sub(Splat(1.0f), k), Mul(x, k)); }

LANE_FN Color Combine(std::uint32_t mode, std::uint32_t environment, const Color& fragment, const Color& texel) {
  switch (mode) {
    case 1:
      return texel;
    case 2: {
      const Floats k = Mul(texel.a, Splat(kByteScale));
      return {Mix(texel.r, fragment.r, k), Mix(texel.g, fragment.g, k), Mix(texel.b, fragment.b, k), fragment.a};
    }
    case 3: {
      const auto channel = [environment](Floats t, Floats f, int shift) __attribute__((always_inline)) {
        const Floats k = Mul(t, Splat(kByteScale));
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

LANE_FN Color ConstantColor(const Surface& surface) {
  return {Splat(surface.color[0]), Splat(surface.color[1]), Splat(surface.color[2]), Splat(surface.color[3])};
}

/// For a surface that is not of one colour everywhere.
LANE_FN Color ShadePlane(const Surface& surface, const Barycentrics& w) {
  const TriangleRecord& t = *surface.triangle;
  Color fragment = ConstantColor(surface);
  const Floats perspectiveW = PerspectiveW(surface, w);
  if (!surface.constantColor) {
    fragment = {Interpolate(surface.channel[0], w, perspectiveW), Interpolate(surface.channel[1], w, perspectiveW),
                Interpolate(surface.channel[2], w, perspectiveW), Interpolate(surface.channel[3], w, perspectiveW)};
  }
  if (surface.texture == nullptr) return fragment;
  const Color texel = SampleTexture(*surface.texture, t.filterMode, Interpolate(surface.s, w, perspectiveW),
                                    Interpolate(surface.t, w, perspectiveW));
  return Combine(t.texEnvMode, t.texEnvColor, fragment, texel);
}

}  // namespace
}  // namespace tlr2
