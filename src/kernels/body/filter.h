// The three filters.
#pragma once

namespace tlr2 {
namespace {

/// On the scale 0 to 1. The way there and back to 255 cannot be left out: it raises 129 of the bytes by a last unit.
template <typename Lanes>
LANE_FN ColorOf<Lanes> SampleNearest(const TextureCacheEntry& entry, Lanes s, Lanes t) {
  const Level<Lanes> level = UniformLevel<Lanes>(entry, 0);
  const IntsOf<Lanes> x = Truncate(Floor(Mul(s, level.width))), y = Truncate(Floor(Mul(t, level.height)));
  const IntsOf<Lanes> column = Wrap(entry.wrapClampS == 1, x, level.columns),
                      row = Wrap(entry.wrapClampT == 1, y, level.rows);
  return Scale(UnpackBytes(Gather(Texels(entry), TexelOffset(RowOffset(level, row), column))), kByteScale);
}

template <int Shift, typename Lanes>
LANE_FN Lanes BlendChannel(const Footprint<IntsOf<Lanes>>& f, const Lanes (&weight)[4]) {
  const auto unit = [](IntsOf<Lanes> word) __attribute__((always_inline)) {
    IntsOf<Lanes> byte = word;
    if constexpr (Shift != 0) byte = ShiftRight<Shift>(byte);
    if constexpr (Shift != 24) byte = And(byte, Splat(0xFF));
    return Mul(ToFloats(byte), Splat(kByteScale));
  };
  Lanes sum = Mul(unit(f.t10), weight[0]);
  sum = MulAdd(unit(f.t00), weight[1], sum);
  sum = MulAdd(unit(f.t11), weight[2], sum);
  return MulAdd(unit(f.t01), weight[3], sum);
}

/// On the scale 0 to 1.
template <typename Lanes>
LANE_FN ColorOf<Lanes> FilterLevel(const TextureCacheEntry& entry, const Level<Lanes>& level, Lanes s, Lanes t) {
  const Lanes half = Splat(0.5f), one = Splat(1.0f);
  const Lanes fs = MulSub(s, level.width, half), ft = MulSub(t, level.height, half);
  const Lanes column = Floor(fs), row = Floor(ft);
  const auto f = FetchFootprint(entry, level, Truncate(column), Truncate(row));
  const Lanes wx = Sub(fs, column), wy = Sub(ft, row);
  const Lanes vx = Sub(one, wx), vy = Sub(one, wy);
  const Lanes weight[4] = {Mul(wx, vy), Mul(vx, vy), Mul(wx, wy), Mul(vx, wy)};
  return {BlendChannel<16>(f, weight), BlendChannel<8>(f, weight), BlendChannel<0>(f, weight),
          BlendChannel<24>(f, weight)};
}

/// Footprint of each lane in texels of level 0, from its horizontal and vertical neighbours two pixels away.
template <typename Lanes>
LANE_FN Lanes FootprintSize(const TextureCacheEntry& entry, Lanes s, Lanes t) {
  const Lanes half = Splat(0.5f);
  const Lanes w = Splat(static_cast<float>(entry.levelWidth[0])), h = Splat(static_cast<float>(entry.levelHeight[0]));
  const auto span = [half](Lanes neighbour, Lanes own, Lanes size)
                        __attribute__((always_inline)) { return Mul(Abs(Mul(Sub(neighbour, own), half)), size); };
  const Lanes ax = Max(span(ReverseGroups(s), s, w), span(ReverseGroups(t), t, h));
  const Lanes ay = Max(span(SwapGroupHalves(s), s, w), span(SwapGroupHalves(t), t, h));
  return Max(ax, ay);
}

template <typename Lanes>
LANE_FN ColorOf<Lanes> FilterLevels(const TextureCacheEntry& entry, IntsOf<Lanes> level, Lanes s, Lanes t) {
  const std::int32_t first = FirstLane(level);
  const Level<Lanes> numbers =
      All(Equal(level, Splat(first))) ? UniformLevel<Lanes>(entry, first) : GatheredLevel<Lanes>(entry, level);
  return FilterLevel(entry, numbers, s, t);
}

/// Blends two neighbouring levels by the footprint; on the scale 0 to 1. Levels past the chain's end hold zeros and are
/// worked on all the same.
template <typename Lanes>
LANE_FN ColorOf<Lanes> SampleTrilinear(const TextureCacheEntry& entry, Lanes s, Lanes t) {
  const Lanes rho = FootprintSize(entry, s, t);
  const IntsOf<Lanes> exponent = And(ShiftRight<23>(Bits(Floor(rho))), Splat(0xFF));
  const IntsOf<Lanes> raw = Add(Sub(Max(exponent, Splat(127)), Splat(127)), Splat(entry.baseLevel));
  const IntsOf<Lanes> level0 = Min(Max(raw, Splat(0)), Splat(15));
  const IntsOf<Lanes> level1 = Add(Min(Max(raw, Splat(-1)), Splat(14)), Splat(1));
  const Lanes power = FromBits(ShiftLeft<23>(Add(level0, Splat(127))));
  const Lanes zero = Splat(0.0f);
  const Lanes f = Max(zero, Div(Sub(rho, power), power));
  const ColorOf<Lanes> near = FilterLevels(entry, level0, s, t);
  // With weight 0 everywhere the second level adds zeros, as long as it is finite: as all coordinates are far from
  // where scaling by a width overflows.
  const Lanes limit = Splat(0x1p60f);
  if (All(And(Equal(f, zero), And(Less(Abs(s), limit), Less(Abs(t), limit))))) {
    return near;
  }
  const ColorOf<Lanes> far = FilterLevels(entry, level1, s, t);
  const Lanes g = Sub(Splat(1.0f), f);
  return {MulAdd(g, near.r, Mul(f, far.r)), MulAdd(g, near.g, Mul(f, far.g)), MulAdd(g, near.b, Mul(f, far.b)),
          MulAdd(g, near.a, Mul(f, far.a))};
}

/// On the scale 0 to 255.
template <typename Lanes>
LANE_FN ColorOf<Lanes> SampleTexture(const TextureCacheEntry& entry, std::uint32_t filter, Lanes s, Lanes t) {
  if (filter == 0) return Scale(SampleNearest(entry, s, t), 255.0f);
  if (filter == 2) return Scale(FilterLevel(entry, UniformLevel<Lanes>(entry, 0), s, t), 255.0f);
  return Scale(SampleTrilinear(entry, s, t), 255.0f);
}

}  // namespace
}  // namespace tlr2
