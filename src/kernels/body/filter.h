// The three filters.
#pragma once

namespace tlr2 {
namespace {

/// On the scale 0 to 1. The way there and back to 255 cannot be left out: it raises 129 of the bytes by a last unit.
LANE_FN Color SampleNearest(const TextureCacheEntry& entry, Floats s, Floats t) {
  const Level level = UniformLevel(entry, 0);
  const Ints x = Truncate(Floor(Mul(s, level.width))), y = Truncate(Floor(Mul(t, level.height)));
  const Ints column = Wrap(entry.wrapClampS == 1, x, level.columns), row = Wrap(entry.wrapClampT == 1, y, level.rows);
  return Scale(UnpackBytes(Gather(Texels(entry), TexelOffset(RowOffset(level, row), column))), kByteScale);
}

template <int Shift>
LANE_FN Floats BlendChannel(const Footprint& f, const Floats (&weight)[4]) {
  const auto unit = [](Ints word) __attribute__((always_inline)) {
    Ints byte = word;
    if constexpr (Shift != 0) byte = ShiftRight<Shift>(byte);
    if constexpr (Shift != 24) byte = And(byte, Splat(0xFF));
    return Mul(ToFloats(byte), Splat(kByteScale));
  };
  Floats sum = Mul(unit(f.t10), weight[0]);
  sum = MulAdd(unit(f.t00), weight[1], sum);
  sum = MulAdd(unit(f.t11), weight[2], sum);
  return MulAdd(unit(f.t01), weight[3], sum);
}

/// On the scale 0 to 1.
LANE_FN Color FilterLevel(const TextureCacheEntry& entry, const Level& level, Floats s, Floats t) {
  const Floats half = Splat(0.5f), one = Splat(1.0f);
  const Floats fs = MulSub(s, level.width, half), ft = MulSub(t, level.height, half);
  const Floats column = Floor(fs), row = Floor(ft);
  const Footprint f = FetchFootprint(entry, level, Truncate(column), Truncate(row));
  const Floats wx = Sub(fs, column), wy = Sub(ft, row);
  const Floats vx = Sub(one, wx), vy = Sub(one, wy);
  const Floats weight[4] = {Mul(wx, vy), Mul(vx, vy), Mul(wx, wy), Mul(vx, wy)};
  return {BlendChannel<16>(f, weight), BlendChannel<8>(f, weight), BlendChannel<0>(f, weight),
          BlendChannel<24>(f, weight)};
}

/// Footprint of each lane in texels of level 0, from its horizontal and vertical neighbours two pixels away.
LANE_FN Floats FootprintSize(const TextureCacheEntry& entry, Floats s, Floats t) {
  const Floats half = Splat(0.5f);
  const Floats w = Splat(static_cast<float>(entry.levelWidth[0])), h = Splat(static_cast<float>(entry.levelHeight[0]));
  const auto span = [half](Floats neighbour, Floats own, Floats size)
                        __attribute__((always_inline)) { return Mul(Abs(Mul(Sub(neighbour, own), half)), size); };
  const Floats ax = Max(span(ReverseGroups(s), s, w), span(ReverseGroups(t), t, h));
  const Floats ay = Max(span(SwapGroupHalves(s), s, w), span(SwapGroupHalves(t), t, h));
  return Max(ax, ay);
}

LANE_FN Color FilterLevels(const TextureCacheEntry& entry, Ints level, Floats s, Floats t) {
  const std::int32_t first = FirstLane(level);
  const Level numbers = All(Equal(level, Splat(first))) ? UniformLevel(entry, first) : GatheredLevel(entry, level);
  return FilterLevel(entry, numbers, s, t);
}

/// Blends two neighbouring levels by the footprint; on the scale 0 to 1. Levels past the chain's end hold zeros and are
/// worked on all the same. The only function that a kernel calls.
[[gnu::noinline]] void SampleTrilinear(const TextureCacheEntry& entry, const Floats& sIn, const Floats& tIn,
                                       Color& out) {
  const Floats s = sIn, t = tIn;
  const Floats rho = FootprintSize(entry, s, t);
  const Ints exponent = And(ShiftRight<23>(Bits(Floor(rho))), Splat(0xFF));
  const Ints raw = Add(Sub(Max(exponent, Splat(127)), Splat(127)), Splat(entry.baseLevel));
  const Ints level0 = Min(Max(raw, Splat(0)), Splat(15));
  const Ints level1 = Add(Min(Max(raw, Splat(-1)), Splat(14)), Splat(1));
  const Floats power = FromBits(ShiftLeft<23>(Add(level0, Splat(127))));
  const Floats zero = Splat(0.0f);
  const Floats f = Max(zero, Div(Sub(rho, power), power));
  const Color near = FilterLevels(entry, level0, s, t);
  // With weight 0 everywhere the second level adds zeros, as long as it is finite: as all coordinates are far from
  // where scaling by a width overflows.
  const Floats limit = Splat(0x1p60f);
  if (All(And(Equal(f, zero), And(Less(Abs(s), limit), Less(Abs(t), limit))))) {
    out = near;
    return;
  }
  const Color far = FilterLevels(entry, level1, s, t);
  const Floats g = Sub(Splat(1.0f), f);
  out = {MulAdd(g, near.r, Mul(f, far.r)), MulAdd(g, near.g, Mul(f, far.g)), MulAdd(g, near.b, Mul(f, far.b)),
         MulAdd(g, near.a, Mul(f, far.a))};
}

/// On the scale 0 to 255.
LANE_FN Color SampleTexture(const TextureCacheEntry& entry, std::uint32_t filter, Floats s, Floats t) {
  if (filter == 0) return Scale(SampleNearest(entry, s, t), 255.0f);
  if (filter == 2) return Scale(FilterLevel(entry, UniformLevel(entry, 0), s, t), 255.0f);
  Color c;
  SampleTrilinear(entry, s, t, c);
  return Scale(c, 255.0f);
}

}  // namespace
}  // namespace tlr2
