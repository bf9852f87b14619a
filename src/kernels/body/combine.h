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

LANE_FN PartColor ConstantColor(const Surface& surface) {
  return {Splat(surface.color[2]), Splat(surface.color[1]), Splat(surface.color[0]), Splat(surface.color[3])};
}

}  // namespace
}  // namespace tlr2
