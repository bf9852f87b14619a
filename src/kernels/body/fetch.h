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
struct Footprint {
  IntsPart t00, t10, t01, t11;  // first digit the column, second the row
};

/// Where they lie, in bytes from level 0.
struct Places {
  IntsPart upperLeft, lowerLeft, upperRight, lowerRight;
  bool pairs;  // in no lane does a wrap part the columns: the right texels lie behind the left ones
};

LANE_FN void Locate(bool clampS, bool clampT, const Level& level, IntsPart x0, IntsPart y0, Places& places) {
  const IntsPart one = Splat(1);
  const IntsPart left = Wrap(clampS, x0, level.columns), right = Wrap(clampS, Add(x0, one), level.columns);
  const IntsPart upper = RowOffset(level, Wrap(clampT, y0, level.rows));
  const IntsPart lower = RowOffset(level, Wrap(clampT, Add(y0, one), level.rows));
  places.upperLeft = TexelOffset(upper, left);
  places.lowerLeft = TexelOffset(lower, left);
  places.pairs = All(Equal(right, Add(left, one)));
  if (places.pairs) return;
  places.upperRight = TexelOffset(upper, right);
  places.lowerRight = TexelOffset(lower, right);
}

LANE_FN Footprint Fetch(const void* texels, const Places& places) {
  Footprint f;
  if (places.pairs) {
    // Both columns lie in one 8-byte load.
    GatherPairs(texels, places.upperLeft, f.t00, f.t10);
    GatherPairs(texels, places.lowerLeft, f.t01, f.t11);
    return f;
  }
  f.t00 = Gather(texels, places.upperLeft);
  f.t01 = Gather(texels, places.lowerLeft);
  f.t10 = Gather(texels, places.upperRight);
  f.t11 = Gather(texels, places.lowerRight);
  return f;
}

}  // namespace
}  // namespace tlr2
