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
  kSquares = 0,  // nothing wraps: two texels of a row, and as many in the next row
  kPairs,        // in no lane does a wrap part the columns: the right texels lie behind the left ones
  kSingles,
};

/// Where they lie, in texels from `upper`. Of squares only the upper left ones are told, which hold from `lower` too.
struct Places {
  IntsPart upperLeft, lowerLeft, upperRight, lowerRight;
  const char *upper, *lower;
  Form form;
};

/// Sets places from the rows' first texels and the columns in them.
template <typename Texel>
LANE_FN void PutPlaces(IntsPart upper, IntsPart lower, IntsPart left, IntsPart right, Texel texel, Places& places) {
  places.upperLeft = texel(upper, left);
  places.lowerLeft = texel(lower, left);
  const bool pairs = All(Equal(right, Add(left, Splat(1))));
  places.form = pairs ? Form::kPairs : Form::kSingles;
  if (pairs) return;
  places.upperRight = texel(upper, right);
  places.lowerRight = texel(lower, right);
}

LANE_FN void Locate(const TextureCacheEntry& entry, const Level& level, IntsPart x0, IntsPart y0, Places& places) {
  const bool clampS = entry.wrapClampS == 1, clampT = entry.wrapClampT == 1;
  const IntsPart x1 = Add(x0, Splat(1)), y1 = Add(y0, Splat(1));
  places.upper = static_cast<const char*>(Texels(entry));
  PutPlaces(
      RowOffset(level, Wrap(clampT, y0, level.rows)), RowOffset(level, Wrap(clampT, y1, level.rows)),
      Wrap(clampS, x0, level.columns), Wrap(clampS, x1, level.columns),
      [](IntsPart row, IntsPart x) __attribute__((always_inline)) { return ShiftRightSigned<2>(TexelOffset(row, x)); },
      places);
}

LANE_FN void LocatePlain(const PlainLevel& level, IntsPart x0, IntsPart y0, Places& places) {
  const IntsPart x1 = Add(x0, Splat(1)), y1 = Add(y0, Splat(1));
  const IntsPart upper = Mul(WrapPlain(y0, level.rowBits, level.rowRoom), level.stride);
  const IntsPart lower = Mul(WrapPlain(y1, level.rowBits, level.rowRoom), level.stride);
  const IntsPart left = WrapPlain(x0, level.columnBits, level.columnRoom);
  const IntsPart right = WrapPlain(x1, level.columnBits, level.columnRoom);
  places.upper = level.texels;
  PutPlaces(
      upper, lower, left, right, [](IntsPart row, IntsPart x) __attribute__((always_inline)) { return Add(row, x); },
      places);
}

/// As squares, and sets the form to another one if they are not, which LocatePlain then puts right. Returns 0 if they
/// are.
LANE_FN unsigned LocateSquares(const PlainLevel& level, IntsPart x0, IntsPart y0, Places& places) {
  const IntsPart x = And(x0, level.columnBits), y = And(y0, level.rowBits);
  places.upperLeft = Add(Mul(y, level.stride), x);
  places.upper = level.texels;
  places.lower = level.texels + level.strideBytes;
  const unsigned wrapped = NegativeLanes(Or(Or(x, y), Or(Sub(level.columnRoom, x), Sub(level.rowRoom, y))));
  places.form = static_cast<Form>(wrapped);
  return wrapped;
}

LANE_FN Footprint Fetch(const Places& places) {
  Footprint f;
  if (places.form == Form::kSquares) {
    GatherSquares(places.upper, places.lower, places.upperLeft, f.t00, f.t10, f.t01, f.t11);
  } else if (places.form == Form::kPairs) {
    GatherPairs(places.upper, places.upperLeft, f.t00, f.t10);
    GatherPairs(places.upper, places.lowerLeft, f.t01, f.t11);
  } else {
    f.t00 = GatherByLoads<4>(places.upper, places.upperLeft);
    f.t01 = GatherByLoads<4>(places.upper, places.lowerLeft);
    f.t10 = GatherByLoads<4>(places.upper, places.upperRight);
    f.t11 = GatherByLoads<4>(places.upper, places.lowerRight);
  }
  return f;
}

}  // namespace
}  // namespace tlr2
