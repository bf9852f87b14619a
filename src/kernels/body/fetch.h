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

/// How the texels of a unit's footprints lie.
enum class Form : unsigned {
  kSquares,  // nothing wraps: two texels of a row, and as many in the next row
  kPairs,    // in no lane does a wrap part the columns: the right texels lie behind the left ones
  kSingles,
};

/// Where they lie. Of squares only the upper left texels are told, in texels from both rows; else all is in bytes from
/// the first texel.
struct Places {
  IntsPart upperLeft, lowerLeft, upperRight, lowerRight;
  const char *upper, *lower;
  Form form;
};

LANE_FN void Locate(const TextureCacheEntry& entry, const Level& level, IntsPart x0, IntsPart y0, Places& places) {
  const bool clampS = entry.wrapClampS == 1, clampT = entry.wrapClampT == 1;
  const IntsPart one = Splat(1);
  const IntsPart left = Wrap(clampS, x0, level.columns), right = Wrap(clampS, Add(x0, one), level.columns);
  const IntsPart upper = RowOffset(level, Wrap(clampT, y0, level.rows));
  const IntsPart lower = RowOffset(level, Wrap(clampT, Add(y0, one), level.rows));
  places.upper = static_cast<const char*>(Texels(entry));
  places.upperLeft = TexelOffset(upper, left);
  places.lowerLeft = TexelOffset(lower, left);
  const bool pairs = All(Equal(right, Add(left, one)));
  places.form = pairs ? Form::kPairs : Form::kSingles;
  if (pairs) return;
  places.upperRight = TexelOffset(upper, right);
  places.lowerRight = TexelOffset(lower, right);
}

/// As squares, whether or not they are. Returns 0 if they are.
LANE_FN unsigned LocateSquares(const PlainLevel& level, IntsPart x0, IntsPart y0, Places& places) {
  const IntsPart x = And(x0, level.columnBits), y = And(y0, level.rowBits);
  places.upperLeft = Add(Mul(y, level.stride), x);
  places.upper = level.texels;
  places.lower = level.texels + level.strideBytes;
  return NegativeLanes(Or(Or(x, Sub(level.lastColumn, x)), Or(y, Sub(level.lastRow, y))));
}

LANE_FN Footprint Fetch(const Places& places) {
  Footprint f;
  switch (places.form) {
    case Form::kSquares:
      GatherSquares(places.upper, places.lower, places.upperLeft, f.t00, f.t10, f.t01, f.t11);
      break;
    case Form::kPairs:
      GatherPairs(places.upper, places.upperLeft, f.t00, f.t10);
      GatherPairs(places.upper, places.lowerLeft, f.t01, f.t11);
      break;
    case Form::kSingles:
      f.t00 = Gather(places.upper, places.upperLeft);
      f.t01 = Gather(places.upper, places.lowerLeft);
      f.t10 = Gather(places.upper, places.upperRight);
      f.t11 = Gather(places.upper, places.lowerRight);
      break;
  }
  return f;
}

}  // namespace
}  // namespace tlr2
