// The three filters. Each works on a list of units, stage by stage: a stage of one unit waits on the stage before it
// for longer than the processor can look ahead, while the units do not wait on each other.
#pragma once

namespace tlr2 {
namespace {

using PartColor = ColorOf<FloatsPart>;

/// Parts of planes.
constexpr int kUnits = kPlanes * kParts;

/// What the filters read and give, by place in the list; texels on the scale 0 to 255.
struct Samples {
  FloatsPart w[kUnits];  // 1/d, for the interpolation of colours
  FloatsPart s[kUnits], t[kUnits];
  PartColor texel[kUnits];
};

LANE_FN PartColor ToByteScale(const PartColor& c) { return Scale(c, 255.0f); }

/// The way to 0 to 1 and back cannot be left out: it raises 129 of the bytes by a last unit.
[[gnu::noinline]] void SampleNearest(const TextureCacheEntry& entry, int count, Samples& samples) {
  const Level level = UniformLevel(entry, 0);
  const bool clampS = entry.wrapClampS == 1, clampT = entry.wrapClampT == 1;
  const void* texels = Texels(entry);
  IntsPart offset[kUnits];
  for (int i = 0; i < count; ++i) {
    const IntsPart x = Truncate(Floor(Mul(samples.s[i], level.width)));
    const IntsPart y = Truncate(Floor(Mul(samples.t[i], level.height)));
    offset[i] = TexelOffset(RowOffset(level, Wrap(clampT, y, level.rows)), Wrap(clampS, x, level.columns));
  }
  for (int i = 0; i < count; ++i) {
    const IntsPart t = GatherByLoads(texels, offset[i]);
    samples.texel[i] = ToByteScale({ByteTimes<2>(t, kByteScale), ByteTimes<1>(t, kByteScale),
                                    ByteTimes<0>(t, kByteScale), ByteTimes<3>(t, kByteScale)});
  }
}

template <int Byte>
LANE_FN FloatsPart BlendChannel(const Footprint& f, const FloatsPart (&weight)[4]) {
  const auto unit = [](IntsPart words) __attribute__((always_inline)) { return ByteTimes<Byte>(words, kByteScale); };
  FloatsPart sum = Mul(unit(f.t10), weight[0]);
  sum = MulAdd(unit(f.t00), weight[1], sum);
  sum = MulAdd(unit(f.t11), weight[2], sum);
  return MulAdd(unit(f.t01), weight[3], sum);
}

/// On the scale 0 to 1.
LANE_FN PartColor BlendFootprint(const Footprint& f, const FloatsPart (&weight)[4]) {
  return {BlendChannel<2>(f, weight), BlendChannel<1>(f, weight), BlendChannel<0>(f, weight),
          BlendChannel<3>(f, weight)};
}

/// A unit's footprint in one level, and what its texels weigh.
struct Corners {
  Places places;
  FloatsPart weight[4];
};

LANE_FN void FindCorners(const TextureCacheEntry& entry, const Level& level, FloatsPart s, FloatsPart t,
                         Corners& corners) {
  const FloatsPart half = Splat(0.5f), one = Splat(1.0f);
  const FloatsPart fs = MulSub(s, level.width, half), ft = MulSub(t, level.height, half);
  const FloatsPart column = Floor(fs), row = Floor(ft);
  Locate(entry.wrapClampS == 1, entry.wrapClampT == 1, level, Truncate(column), Truncate(row), corners.places);
  const FloatsPart wx = Sub(fs, column), wy = Sub(ft, row);
  const FloatsPart vx = Sub(one, wx), vy = Sub(one, wy);
  corners.weight[0] = Mul(wx, vy);
  corners.weight[1] = Mul(vx, vy);
  corners.weight[2] = Mul(wx, wy);
  corners.weight[3] = Mul(vx, wy);
}

[[gnu::noinline]] void SampleBilinear(const TextureCacheEntry& entry, int count, Samples& samples) {
  const Level level = UniformLevel(entry, 0);
  const void* texels = Texels(entry);
  Corners corners[kUnits];
  for (int i = 0; i < count; ++i) FindCorners(entry, level, samples.s[i], samples.t[i], corners[i]);
  for (int i = 0; i < count; ++i) {
    samples.texel[i] = ToByteScale(BlendFootprint(Fetch(texels, corners[i].places), corners[i].weight));
  }
}

/// Footprint of each lane in texels of level 0, from its horizontal and vertical neighbours two pixels away.
LANE_FN FloatsPart FootprintSize(const TextureCacheEntry& entry, FloatsPart s, FloatsPart t) {
  const FloatsPart half = Splat(0.5f);
  const FloatsPart w = Splat(static_cast<float>(entry.levelWidth[0])),
                   h = Splat(static_cast<float>(entry.levelHeight[0]));
  const auto span = [half](FloatsPart neighbour, FloatsPart own, FloatsPart size)
                        __attribute__((always_inline)) { return Mul(Abs(Mul(Sub(neighbour, own), half)), size); };
  const FloatsPart ax = Max(span(ReverseGroups(s), s, w), span(ReverseGroups(t), t, h));
  const FloatsPart ay = Max(span(SwapGroupHalves(s), s, w), span(SwapGroupHalves(t), t, h));
  return Max(ax, ay);
}

LANE_FN void FindLevelCorners(const TextureCacheEntry& entry, IntsPart level, FloatsPart s, FloatsPart t,
                              Corners& corners) {
  const std::int32_t first = FirstLane(level);
  FindCorners(entry, All(Equal(level, Splat(first))) ? UniformLevel(entry, first) : GatheredLevel(entry, level), s, t,
              corners);
}

/// Blends two neighbouring levels by the footprint. Levels past the chain's end hold zeros and are worked on all the
/// same.
[[gnu::noinline]] void SampleTrilinear(const TextureCacheEntry& entry, int count, Samples& samples) {
  const void* texels = Texels(entry);
  const FloatsPart zero = Splat(0.0f), limit = Splat(0x1p60f);
  Corners near[kUnits], far[kUnits];
  FloatsPart weight[kUnits];  // of the second level
  bool single[kUnits];        // whether it counts for nothing
  for (int i = 0; i < count; ++i) {
    const FloatsPart s = samples.s[i], t = samples.t[i];
    const FloatsPart rho = FootprintSize(entry, s, t);
    const IntsPart exponent = And(ShiftRight<23>(Bits(Floor(rho))), Splat(0xFF));
    const IntsPart raw = Add(Sub(Max(exponent, Splat(127)), Splat(127)), Splat(entry.baseLevel));
    const IntsPart level0 = Min(Max(raw, Splat(0)), Splat(15));
    const FloatsPart power = FromBits(ShiftLeft<23>(Add(level0, Splat(127))));
    weight[i] = Max(zero, Div(Sub(rho, power), power));
    FindLevelCorners(entry, level0, s, t, near[i]);
    // With weight 0 everywhere the second level adds zeros, as long as it is finite: as all coordinates are far from
    // where scaling by a width overflows.
    single[i] = All(And(Equal(weight[i], zero), And(Less(Abs(s), limit), Less(Abs(t), limit))));
    if (single[i]) continue;
    const IntsPart level1 = Add(Min(Max(raw, Splat(-1)), Splat(14)), Splat(1));
    FindLevelCorners(entry, level1, s, t, far[i]);
  }
  for (int i = 0; i < count; ++i) {
    samples.texel[i] = BlendFootprint(Fetch(texels, near[i].places), near[i].weight);
  }
  for (int i = 0; i < count; ++i) {
    const PartColor one = samples.texel[i];
    PartColor both = one;
    if (!single[i]) {
      const PartColor other = BlendFootprint(Fetch(texels, far[i].places), far[i].weight);
      const FloatsPart f = weight[i], g = Sub(Splat(1.0f), f);
      both = {MulAdd(g, one.r, Mul(f, other.r)), MulAdd(g, one.g, Mul(f, other.g)), MulAdd(g, one.b, Mul(f, other.b)),
              MulAdd(g, one.a, Mul(f, other.a))};
    }
    samples.texel[i] = ToByteScale(both);
  }
}

LANE_FN void SampleTexture(const TextureCacheEntry& entry, std::uint32_t filter, int count, Samples& samples) {
  if (filter == 0) return SampleNearest(entry, count, samples);
  if (filter == 2) return SampleBilinear(entry, count, samples);
  SampleTrilinear(entry, count, samples);
}

}  // namespace
}  // namespace tlr2
