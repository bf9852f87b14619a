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
    const IntsPart t = GatherByLoads<1>(texels, offset[i]);
    samples.texel[i] = ToByteScale({ByteTimes<2>(t, kByteScale), ByteTimes<1>(t, kByteScale),
                                    ByteTimes<0>(t, kByteScale), ByteTimes<3>(t, kByteScale)});
  }
}

/// A unit's footprints in one level, and what their texels weigh.
struct Corners {
  Places places;
  FloatsPart weight[4];
};

template <bool kOpaque, int Byte>
LANE_FN FloatsPart BlendChannel(const Footprint& f, const FloatsPart (&weight)[4]) {
  const auto unit = [](IntsPart words) __attribute__((always_inline)) {
    if constexpr (kOpaque) return OpaqueByteTimes<Byte>(words, kByteScale);
    return ByteTimes<Byte>(words, kByteScale);
  };
  FloatsPart sum = Mul(unit(f.t10), weight[0]);
  sum = MulAdd(unit(f.t00), weight[1], sum);
  sum = MulAdd(unit(f.t11), weight[2], sum);
  return MulAdd(unit(f.t01), weight[3], sum);
}

/// On the scale 0 to 1.
LANE_FN PartColor BlendCorners(const Corners& corners) {
  const Footprint f = Fetch(corners.places);
  const FloatsPart(&weight)[4] = corners.weight;
  if (HighestBytesFull(And(And(f.t00, f.t10), And(f.t01, f.t11)))) {
    static_assert(255 * kByteScale == 1, "an opaque texel's alpha times its weight is the weight");
    const FloatsPart alpha = Add(Add(Add(weight[0], weight[1]), weight[2]), weight[3]);
    return {BlendChannel<true, 2>(f, weight), BlendChannel<true, 1>(f, weight), BlendChannel<true, 0>(f, weight),
            alpha};
  }
  return {BlendChannel<false, 2>(f, weight), BlendChannel<false, 1>(f, weight), BlendChannel<false, 0>(f, weight),
          BlendChannel<false, 3>(f, weight)};
}

/// Where a unit's footprints lie in one level, in texels, counted from the middle of the first one.
struct TexelPlace {
  FloatsPart s, t, column, row;

  LANE_FN TexelPlace(FloatsPart s01, FloatsPart t01, FloatsPart width, FloatsPart height)
      : s(MulSub(s01, width, Splat(0.5f))), t(MulSub(t01, height, Splat(0.5f))), column(Floor(s)), row(Floor(t)) {}
  LANE_FN IntsPart X() const { return Truncate(column); }
  LANE_FN IntsPart Y() const { return Truncate(row); }
  LANE_FN void Weigh(FloatsPart (&weight)[4]) const {
    const FloatsPart one = Splat(1.0f);
    const FloatsPart wx = Sub(s, column), wy = Sub(t, row);
    const FloatsPart vx = Sub(one, wx), vy = Sub(one, wy);
    weight[0] = Mul(wx, vy);
    weight[1] = Mul(vx, vy);
    weight[2] = Mul(wx, wy);
    weight[3] = Mul(vx, wy);
  }
};

LANE_FN void FindCorners(const TextureCacheEntry& entry, const Level& level, FloatsPart s, FloatsPart t,
                         Corners& corners) {
  const TexelPlace at(s, t, level.width, level.height);
  Locate(entry, level, at.X(), at.Y(), corners.places);
  at.Weigh(corners.weight);
}

/// Units that lie in the same level.
[[gnu::noinline]] void FindCornersInLevel(const TextureCacheEntry& entry, std::int32_t level, const FloatsPart* s,
                                          const FloatsPart* t, int count, Corners* corners) {
  PlainLevel plain;
  if (!FindPlainLevel(entry, level, plain)) {
    const Level uniform = UniformLevel(entry, level);
    for (int i = 0; i < count; ++i) FindCorners(entry, uniform, s[i], t[i], corners[i]);
    return;
  }
  unsigned wrapped = 0;
  for (int i = 0; i < count; ++i) {
    const TexelPlace at(s[i], t[i], plain.width, plain.height);
    wrapped |= LocateSquares(plain, at.X(), at.Y(), corners[i].places);
    at.Weigh(corners[i].weight);
  }
  if (wrapped == 0) return;
  for (int i = 0; i < count; ++i) {
    if (corners[i].places.form == Form::kSquares) continue;
    const TexelPlace at(s[i], t[i], plain.width, plain.height);
    LocatePlain(plain, at.X(), at.Y(), corners[i].places);
  }
}

[[gnu::noinline]] void SampleBilinear(const TextureCacheEntry& entry, int count, Samples& samples) {
  Corners corners[kUnits];
  FindCornersInLevel(entry, 0, samples.s, samples.t, count, corners);
  for (int i = 0; i < count; ++i) samples.texel[i] = ToByteScale(BlendCorners(corners[i]));
}

/// Footprint of each lane in texels of level 0, from its horizontal and vertical neighbours two pixels away: half the
/// distance to them times the size. The half goes with the size, which is exact. Never less than 0.
LANE_FN FloatsPart FootprintSize(const TextureCacheEntry& entry, FloatsPart s, FloatsPart t) {
  const FloatsPart w = Splat(static_cast<float>(entry.levelWidth[0]) * 0.5f),
                   h = Splat(static_cast<float>(entry.levelHeight[0]) * 0.5f);
  const auto span = [](FloatsPart neighbour, FloatsPart own, FloatsPart size)
                        __attribute__((always_inline)) { return Mul(Abs(Sub(neighbour, own)), size); };
  const FloatsPart ax = Max(span(ReverseGroups(s), s, w), span(ReverseGroups(t), t, h));
  const FloatsPart ay = Max(span(SwapGroupHalves(s), s, w), span(SwapGroupHalves(t), t, h));
  return Max(ax, ay);
}

/// The two levels that lie around a footprint whose size has the logarithm `raw`.
LANE_FN IntsPart NearLevel(IntsPart raw) { return Min(Max(raw, Splat(0)), Splat(15)); }
LANE_FN IntsPart FarLevel(IntsPart raw) { return Add(Min(Max(raw, Splat(-1)), Splat(14)), Splat(1)); }
LANE_FN std::int32_t NearLevel(std::int32_t raw) { return raw < 0 ? 0 : raw > 15 ? 15 : raw; }
LANE_FN std::int32_t FarLevel(std::int32_t raw) { return (raw < -1 ? -1 : raw > 14 ? 14 : raw) + 1; }

/// Both levels' corners of units that do not all lie in the same ones.
[[gnu::noinline]] void FindMixedCorners(const TextureCacheEntry& entry, const IntsPart* raw, int count,
                                        const Samples& samples, Corners* near, Corners* far) {
  for (int i = 0; i < count; ++i) {
    const std::int32_t first = FirstLane(raw[i]);
    if (All(Equal(raw[i], Splat(first)))) {
      FindCornersInLevel(entry, NearLevel(first), samples.s + i, samples.t + i, 1, near + i);
      FindCornersInLevel(entry, FarLevel(first), samples.s + i, samples.t + i, 1, far + i);
    } else {
      FindCorners(entry, GatheredLevel(entry, NearLevel(raw[i])), samples.s[i], samples.t[i], near[i]);
      FindCorners(entry, GatheredLevel(entry, FarLevel(raw[i])), samples.s[i], samples.t[i], far[i]);
    }
  }
}

/// Blends two neighbouring levels by the footprint. Levels past the chain's end hold zeros and are worked on all the
/// same.
[[gnu::noinline]] void SampleTrilinear(const TextureCacheEntry& entry, int count, Samples& samples) {
  if (count == 0) return;
  const FloatsPart zero = Splat(0.0f), one = Splat(1.0f);
  IntsPart raw[kUnits], least = Splat(0x7FFFFFFF), most = Splat(-0x7FFFFFFF);
  FloatsPart weight[kUnits];  // of the second level
  bool single[kUnits];        // whether it counts for nothing
  bool allSingle = true;
  for (int i = 0; i < count; ++i) {
    const FloatsPart s = samples.s[i], t = samples.t[i];
    const FloatsPart rho = FootprintSize(entry, s, t);
    raw[i] = Add(Max(ShiftRight<23>(Bits(rho)), Splat(127)), Splat(entry.baseLevel - 127));
    least = Min(least, raw[i]);
    most = Max(most, raw[i]);
    // How far it lies beyond the level's power of two, over that power; its inverse is exact.
    const FloatsPart inverse = FromBits(ShiftLeft<23>(Sub(Splat(127), NearLevel(raw[i]))));
    weight[i] = Max(zero, MulSub(rho, inverse, one));
    single[i] = false;
    if (All(Equal(weight[i], zero))) {
      // The second level adds zeros, as long as it is finite: as all coordinates are far from where scaling by a width
      // overflows.
      const FloatsPart limit = Splat(0x1p60f);
      single[i] = All(And(Less(Abs(s), limit), Less(Abs(t), limit)));
    }
    allSingle &= single[i];
  }
  Corners near[kUnits], far[kUnits];
  const std::int32_t level = FirstLane(most);
  if (All(And(Equal(least, Splat(level)), Equal(most, Splat(level))))) {
    FindCornersInLevel(entry, NearLevel(level), samples.s, samples.t, count, near);
    if (!allSingle) FindCornersInLevel(entry, FarLevel(level), samples.s, samples.t, count, far);
  } else {
    FindMixedCorners(entry, raw, count, samples, near, far);
  }
  for (int i = 0; i < count; ++i) {
    PartColor color = BlendCorners(near[i]);
    if (!single[i]) {
      const PartColor other = BlendCorners(far[i]);
      const FloatsPart f = weight[i], g = Sub(one, f);
      color = {MulAdd(g, color.r, Mul(f, other.r)), MulAdd(g, color.g, Mul(f, other.g)),
               MulAdd(g, color.b, Mul(f, other.b)), MulAdd(g, color.a, Mul(f, other.a))};
    }
    samples.texel[i] = ToByteScale(color);
  }
}

LANE_FN void SampleTexture(const TextureCacheEntry& entry, std::uint32_t filter, int count, Samples& samples) {
  if (filter == 0) return SampleNearest(entry, count, samples);
  if (filter == 2) return SampleBilinear(entry, count, samples);
  SampleTrilinear(entry, count, samples);
}

}  // namespace
}  // namespace tlr2
