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

/// Greatest squared distance of a lane's luminance from the mean; dead lanes take part, NaN stays NaN.
LANE_FN float PlaneStatistic(const Color& c) {
  const Floats luminance = Luminance(c);
  const float mean = Sum(luminance) * (1.0f / kLanes);
  const Floats distance = Sub(luminance, Splat(mean));
  return Greatest(Mul(distance, distance));
}

/// Whether the part alone spreads so far that the statistic of its plane cannot be less than the threshold, whatever
/// the other lanes hold: wherever the mean lies, one of two lanes is half their distance away from it. The margin
/// covers the rounding; a mean that is not a number stops nothing either.
LANE_FN bool SpreadsBeyond(const ColorOf<FloatsPart>& c, float twiceRoot) {
  const FloatsPart luminance = Luminance(c), zero = Splat(0.0f);
  return Greatest(luminance) + Greatest(Sub(zero, luminance)) > twiceRoot * 1.001f;
}

LANE_FN Color Average(const Color& x, const Color& y) {
  return Scale(Color{Add(x.r, y.r), Add(x.g, y.g), Add(x.b, y.b), Add(x.a, y.a)}, 0.5f);
}
LANE_FN Color Average(const Color& x, const Color& y, const Color& z) {
  return Scale(
      Color{Add(Add(x.r, y.r), z.r), Add(Add(x.g, y.g), z.g), Add(Add(x.b, y.b), z.b), Add(Add(x.a, y.a), z.a)},
      0.33333334f);
}

/// The shaded and averaged colours, and which of them each plane takes. A plane takes its own or an earlier one's.
struct Slots {
  Color color[kPlanes];
  int of[kPlanes];
};

/// Shades a plane's parts. Tells whether its statistic is less than the square of `root`, for which the other parts are
/// shaded only if these ones leave it open.
LANE_FN bool ShadeAndCompare(const Surface& surface, const Barycentrics& w, PartSet parts, float root, float square,
                             Color& color) {
  ShadeParts(surface, w, parts, color);
  if (parts != kAllParts) {
    const int part = __builtin_ctz(parts);
    const ColorOf<FloatsPart> c = {PartOf(color.r, part), PartOf(color.g, part), PartOf(color.b, part),
                                   PartOf(color.a, part)};
    if (SpreadsBeyond(c, 2 * root)) return false;
    ShadeParts(surface, w, kAllParts & ~parts, color);
  }
  return square > PlaneStatistic(color);
}

/// `shareAll` stops after plane 0 whatever it shows. A plane's part is shaded only if a live lane can still depend on
/// it: through its own slot, an averaged one, or the plane's statistic.
LANE_FN void ShadeShared(const Surface& surface, const Barycentrics (&weights)[kPlanes], const Mask (&live)[kPlanes],
                         bool shareAll, Slots& slots) {
  slots.of[0] = slots.of[1] = slots.of[2] = slots.of[3] = 0;
  const PartSet parts1 = LiveParts(live[1]), parts2 = parts1 | LiveParts(live[2]), parts3 = parts2 | LiveParts(live[3]);
  const PartSet parts0 = parts3 | LiveParts(live[0]);
  if (shareAll || parts3 == 0) return ShadeParts(surface, weights[0], parts0, slots.color[0]);
  if (ShadeAndCompare(surface, weights[0], parts0, kRootAll, kShareAll, slots.color[0])) return;

  slots.of[3] = 3;
  if (parts2 == 0) return ShadeParts(surface, weights[3], parts3, slots.color[3]);
  if (ShadeAndCompare(surface, weights[3], parts3, kRootDiagonal, kShareDiagonal, slots.color[3])) {
    slots.color[1] = Average(slots.color[0], slots.color[3]);
    slots.of[1] = slots.of[2] = 1;
    return;
  }

  slots.of[2] = 2;
  if (parts1 == 0) return ShadeParts(surface, weights[2], parts2, slots.color[2]);
  if (ShadeAndCompare(surface, weights[2], parts2, kRootThree, kShareThree, slots.color[2])) {
    slots.color[1] = Average(slots.color[0], slots.color[3], slots.color[2]);
    slots.of[1] = 1;
    return;
  }

  slots.of[1] = 1;
  ShadeParts(surface, weights[1], parts1, slots.color[1]);
}

}  // namespace
}  // namespace tlr2
