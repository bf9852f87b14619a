// Texels as words and as channels.
#pragma once

namespace tlr2 {
namespace {

constexpr float kByteScale = 0x1.010102p-8f;  // 1/255; always multiplied by, never divided by 255

/// Four channels, a lane each. The scale is the holder's: 0 to 1 in the sampler, 0 to 255 elsewhere.
template <typename Lanes>
struct ColorOf {
  Lanes r, g, b, a;
};
using Color = ColorOf<Floats>;

/// Bytes 0 to 255 of 0xAARRGGBB words.
template <typename Words>
LANE_FN auto UnpackBytes(Words words) {
  const Words byte = Splat(0xFF);
  return ColorOf<decltype(ToFloats(words))>{ToFloats(And(ShiftRight<16>(words), byte)),
                                            ToFloats(And(ShiftRight<8>(words), byte)), ToFloats(And(words, byte)),
                                            ToFloats(ShiftRight<24>(words))};
}

LANE_FN Ints PackColor(const Color& c) { return PackBytes(c.r, c.g, c.b, c.a); }

template <typename Lanes>
LANE_FN ColorOf<Lanes> Scale(ColorOf<Lanes> c, float by) {
  const Lanes k = Splat(by);
  return {Mul(c.r, k), Mul(c.g, k), Mul(c.b, k), Mul(c.a, k)};
}

/// The four texels of a bilinear footprint.
template <typename Words>
struct Footprint {
  Words t00, t10, t01, t11;  // first digit the column, second the row
};

template <typename Lanes, typename Words>
LANE_FN Footprint<Words> FetchFootprint(const TextureCacheEntry& entry, const Level<Lanes>& level, Words x0, Words y0) {
  const bool clampS = entry.wrapClampS == 1, clampT = entry.wrapClampT == 1;
  const Words one = Splat(1);
  const void* texels = Texels(entry);
  const Words left = Wrap(clampS, x0, level.columns), right = Wrap(clampS, Add(x0, one), level.columns);
  const Words upper = RowOffset(level, Wrap(clampT, y0, level.rows));
  const Words lower = RowOffset(level, Wrap(clampT, Add(y0, one), level.rows));
  const Words upperLeft = TexelOffset(upper, left), lowerLeft = TexelOffset(lower, left);
  Footprint<Words> f;
  if (All(Equal(right, Add(left, one)))) {
    // No lane wraps between its two columns: both lie in one 8-byte load.
    GatherPairs(texels, upperLeft, f.t00, f.t10);
    GatherPairs(texels, lowerLeft, f.t01, f.t11);
    return f;
  }
  f.t00 = Gather(texels, upperLeft);
  f.t01 = Gather(texels, lowerLeft);
  f.t10 = Gather(texels, TexelOffset(upper, right));
  f.t11 = Gather(texels, TexelOffset(lower, right));
  return f;
}

}  // namespace
}  // namespace tlr2
