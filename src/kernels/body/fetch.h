// Texels as words and as channels.
#pragma once

namespace tlr2 {
namespace {

constexpr float kByteScale = 0x1.010102p-8f;  // 1/255; always multiplied by, never divided by 255

/// Four channels, a lane each. The scale is the holder's: 0 to 1 in the sampler, 0 to 255 elsewhere.
struct Color {
  Floats r, g, b, a;
};

/// Bytes 0 to 255 of 0xAARRGGBB words.
LANE_FN Color UnpackBytes(Ints words) {
  const Ints byte = Splat(0xFF);
  return {ToFloats(And(ShiftRight<16>(words), byte)), ToFloats(And(ShiftRight<8>(words), byte)),
          ToFloats(And(words, byte)), ToFloats(ShiftRight<24>(words))};
}

LANE_FN Ints PackColor(const Color& c) { return PackBytes(c.r, c.g, c.b, c.a); }

LANE_FN Color Scale(Color c, float by) {
  const Floats k = Splat(by);
  return {Mul(c.r, k), Mul(c.g, k), Mul(c.b, k), Mul(c.a, k)};
}

/// The four texels of a bilinear footprint.
struct Footprint {
  Ints t00, t10, t01, t11;  // first digit the column, second the row
};

LANE_FN Footprint FetchFootprint(const TextureCacheEntry& entry, const Level& level, Ints x0, Ints y0) {
  const bool clampS = entry.wrapClampS == 1, clampT = entry.wrapClampT == 1;
  const Ints one = Splat(1);
  const void* texels = Texels(entry);
  const Ints left = Wrap(clampS, x0, level.columns), right = Wrap(clampS, Add(x0, one), level.columns);
  const Ints upper = RowOffset(level, Wrap(clampT, y0, level.rows));
  const Ints lower = RowOffset(level, Wrap(clampT, Add(y0, one), level.rows));
  const Ints upperLeft = TexelOffset(upper, left), lowerLeft = TexelOffset(lower, left);
  Footprint f;
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
