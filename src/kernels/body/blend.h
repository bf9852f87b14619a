// Alpha test and blending of a plane's fragments.
#pragma once

namespace tlr2 {
namespace {

constexpr float kAlphaReference = 0x1.53a8f6p+7f;  // 169.83; the application's reference plays no part

LANE_FN MaskPart AlphaPasses(const PartColor& source) { return Less(Splat(kAlphaReference), source.a); }

LANE_FN bool Blends(std::uint32_t mode) { return mode >= 1 && mode <= 3; }

template <typename Lanes>
LANE_FN ColorOf<Lanes> Blend(std::uint32_t mode, const ColorOf<Lanes>& s, const ColorOf<Lanes>& d) {
  switch (mode) {
    case 1:
      return {Add(s.r, d.r), Add(s.g, d.g), Add(s.b, d.b), Add(s.a, d.a)};
    case 2:
      return {ScaledProduct(s.r, d.r), ScaledProduct(s.g, d.g), ScaledProduct(s.b, d.b), ScaledProduct(s.a, d.a)};
    default: {
      const Lanes a = Mul(s.a, Splat(kByteScale));
      return {Mix(s.r, d.r, a), Mix(s.g, d.g, a), Mix(s.b, d.b, a), Mix(s.a, d.a, a)};
    }
  }
}

}  // namespace
}  // namespace tlr2
