// Adaptive sharing of shaded planes inside quads: planes are shaded in the order 0, 3, 2, 1 for as long as the picture
// varies more over the lanes than a threshold, which grows from plane to plane.
#pragma once

namespace tlr2 {
namespace {

/// Squares of 0.0005, 0.038 and 0.072 in units of full-scale luminance, after planes 0, 3 and 2.
constexpr float kShareAll = 0x1.0c6f7cp-22f;
constexpr float kShareDiagonal = 0x1.7a8932p-10f;
constexpr float kShareThree = 0x1.53bd14p-8f;
constexpr float kRootAll = 0.0005f, kRootDiagonal = 0.038f, kRootThree = 0.072f;

template <typename Lanes>
LANE_FN Lanes Luminance(const ColorOf<Lanes>& c) {
  const Lanes weighted = MulAdd(Splat(0.0722f), c.b, MulAdd(Splat(0.2126f), c.r, Mul(Splat(0.7152f), c.g)));
  return Mul(weighted, Splat(kByteScale));
}

/// Whether lanes spread so far that the statistic of their plane cannot be less than the square of `root`, whatever the
/// lanes hold that are not asked: wherever the mean lies, one of two lanes is half their distance away from it. The
/// margin covers the rounding; a mean that is not a number stops nothing either.
LANE_FN bool SpreadsBeyond(float spread, float root) { return spread > 2 * root * 1.001f; }
LANE_FN float SpreadOf(FloatsPart x) { return Greatest(x) + Greatest(Sub(Splat(0.0f), x)); }

/// Whether the greatest squared distance of a lane's luminance from the mean is less than `square`, which is that of
/// `root`; dead lanes take part, NaN is never less. Differences and squares round monotonically, so the extremes are
/// the most distant lanes; and often their spread answers before the mean is known. A NaN reaches the mean.
LANE_FN bool StatisticBelow(const Floats& luminance, float root, float square) {
  const Extremes extremes = ExtremesOf(luminance);
  if (SpreadsBeyond(extremes.greatest + extremes.leastNegated, root)) return false;
  const float mean = Sum(luminance) * (1.0f / kLanes);
  const float above = extremes.greatest - mean, below = extremes.leastNegated + mean;
  return square > above * above && square > below * below;
}

LANE_FN bool StatisticBelow(const Color& c, float root, float square) {
  return StatisticBelow(Luminance(c), root, square);
}

template <typename Lanes>
LANE_FN ColorOf<Lanes> Average(const ColorOf<Lanes>& x, const ColorOf<Lanes>& y) {
  return Scale(ColorOf<Lanes>{Add(x.r, y.r), Add(x.g, y.g), Add(x.b, y.b), Add(x.a, y.a)}, 0.5f);
}
template <typename Lanes>
LANE_FN ColorOf<Lanes> Average(const ColorOf<Lanes>& x, const ColorOf<Lanes>& y, const ColorOf<Lanes>& z) {
  return Scale(ColorOf<Lanes>{Add(Add(x.r, y.r), z.r), Add(Add(x.g, y.g), z.g), Add(Add(x.b, y.b), z.b),
                              Add(Add(x.a, y.a), z.a)},
               0.33333334f);
}

/// Which slots hold colours, and of which planes: planes without a live lane need none.
enum class Sharing {
  kOne,       // slot 0, for all planes
  kDiagonal,  // slots 0 and 3, no other plane being alive
  kMiddle,    // slots 0 and 3, and slot 1 for planes 1 and 2
  kThree,     // slots 0, 2 and 3, plane 1 being dead
  kAveraged,  // each its own, slot 1 being the mean of the others
  kNone,      // each its own, all shaded
};

/// The slots of a triangle being shaded, and which parts of them are.
struct SlotShader {
  const Surface& surface;
  const Barycentrics (&weights)[kPlanes];
  Color (&slots)[kPlanes];
  PartSet done[kPlanes];

  LANE_FN void Ensure(int plane, PartSet parts) {
    const PartSet missing = parts & ~done[plane];
    if (missing == 0) return;
    SomeUnits units;
    units.Add(plane, missing);
    Shade(surface, weights, units.List(), slots);
    done[plane] |= parts;
  }

  /// Shades the first planes in their order.
  LANE_FN void EnsureFirst(int planes, const PartSet (&parts)[kPlanes], bool all) {
    SomeUnits some;
    UnitList list = {kAllUnits.unit, planes * kParts};
    if (!all) {
      for (int i = 0; i < planes; ++i) some.Add(kPlaneOrder[i], parts[kPlaneOrder[i]]);
      list = some.List();
    }
    Shade(surface, weights, list, slots);
    for (int i = 0; i < planes; ++i) done[kPlaneOrder[i]] = parts[kPlaneOrder[i]];
  }

  /// Shades a plane's parts. Tells whether its statistic is less than the square of `root`, for which the other parts
  /// are shaded only if these ones leave it open.
  LANE_FN bool EnsureAndCompare(int plane, PartSet parts, float root, float square) {
    Ensure(plane, parts);
    const Color& color = slots[plane];
    if (parts != kAllParts) {
      const int part = __builtin_ctz(parts);
      const PartColor c = {PartOf(color.r, part), PartOf(color.g, part), PartOf(color.b, part), PartOf(color.a, part)};
      if (SpreadsBeyond(SpreadOf(Luminance(c)), root)) return false;
      Ensure(plane, kAllParts);
    }
    return StatisticBelow(color, root, square);
  }
};

/// `shareAll` stops after plane 0 whatever it shows. A plane's part is shaded only if a live lane can still depend on
/// it: through its own slot, an averaged one, or the plane's statistic. The first `ahead` planes
/// are shaded at once, wanted or not, which changes no slot that is used.
LANE_FN Sharing ShadeShared(const Surface& surface, const Barycentrics (&weights)[kPlanes], const Fragments& fragments,
                            bool shareAll, int ahead, Color (&slots)[kPlanes]) {
  PartSet parts[kPlanes] = {kAllParts, kAllParts, kAllParts, kAllParts};
  if (!fragments.allLive) {
    parts[1] = LiveParts(fragments.live[1]);
    parts[2] = parts[1] | LiveParts(fragments.live[2]);
    parts[3] = parts[2] | LiveParts(fragments.live[3]);
    parts[0] = parts[3] | LiveParts(fragments.live[0]);
  }
  SlotShader shader{surface, weights, slots, {}};
  if (shareAll || parts[3] == 0) return shader.Ensure(0, parts[0]), Sharing::kOne;
  if (ahead > 1) shader.EnsureFirst(ahead, parts, fragments.allLive);
  if (shader.EnsureAndCompare(0, parts[0], kRootAll, kShareAll)) return Sharing::kOne;

  if (parts[2] == 0) return shader.Ensure(3, parts[3]), Sharing::kDiagonal;
  if (shader.EnsureAndCompare(3, parts[3], kRootDiagonal, kShareDiagonal)) {
    slots[1] = Average(slots[0], slots[3]);
    return Sharing::kMiddle;
  }

  if (parts[1] == 0) return shader.Ensure(2, parts[2]), Sharing::kThree;
  if (shader.EnsureAndCompare(2, parts[2], kRootThree, kShareThree)) {
    slots[1] = Average(slots[0], slots[3], slots[2]);
    return Sharing::kAveraged;
  }
  shader.Ensure(1, parts[1]);
  return Sharing::kNone;
}

}  // namespace
}  // namespace tlr2
