// Adaptive sharing of shaded planes inside quads: planes are shaded in the order 0, 3, 2, 1 for as long as the picture
// varies more over the lanes than a threshold, which grows from plane to plane.
#pragma once

namespace tlr2 {
namespace {

/// Squares of 0.0005, 0.038 and 0.072 in units of full-scale luminance, after planes 0, 3 and 2.
constexpr float kShareAll = 0x1.0c6f7cp-22f;
constexpr float kShareDiagonal = 0x1.7a8932p-10f;
constexpr float kShareThree = 0x1.53bd14p-8f;

/// Greatest squared distance of a lane's luminance from the mean; dead lanes take part, NaN stays NaN.
LANE_FN float PlaneStatistic(const Color& c) {
  const Floats weighted = MulAdd(Splat(0.0722f), c.b, MulAdd(Splat(0.2126f), c.r, Mul(Splat(0.7152f), c.g)));
  const Floats luminance = Mul(weighted, Splat(kByteScale));
  const float mean = Sum(luminance) * (1.0f / kLanes);
  const Floats distance = Sub(luminance, Splat(mean));
  return Greatest(Mul(distance, distance));
}

LANE_FN Color Average(const Color& x, const Color& y) {
  return Scale({Add(x.r, y.r), Add(x.g, y.g), Add(x.b, y.b), Add(x.a, y.a)}, 0.5f);
}
LANE_FN Color Average(const Color& x, const Color& y, const Color& z) {
  return Scale({Add(Add(x.r, y.r), z.r), Add(Add(x.g, y.g), z.g), Add(Add(x.b, y.b), z.b), Add(Add(x.a, y.a), z.a)},
               0.33333334f);
}

/// The shaded and averaged colours, and which of them each plane takes. A plane takes its own or an earlier one's.
struct Slots {
  Color color[kPlanes];
  int of[kPlanes];
};

/// `shareAll` stops after plane 0 whatever it shows. A plane is shaded only if a live lane can still depend on it:
/// through its own slot, an averaged one, or its statistic.
LANE_FN void ShadeShared(const Surface& surface, const Barycentrics (&weights)[kPlanes], const Mask (&live)[kPlanes],
                         bool shareAll, Slots& slots) {
  slots.of[0] = slots.of[1] = slots.of[2] = slots.of[3] = 0;
  const bool later1 = Any(live[1]), later2 = later1 || Any(live[2]), later3 = later2 || Any(live[3]);
  for (int step = 0; step < kPlanes; ++step) {
    const int plane = (kPlanes - step) % kPlanes;
    slots.color[plane] = ShadePlane(surface, weights[plane]);
    slots.of[plane] = plane;
    if (step == 0) {
      if (shareAll || !later3 || kShareAll > PlaneStatistic(slots.color[0])) return;
    } else if (step == 1) {
      if (!later2) return;
      if (kShareDiagonal > PlaneStatistic(slots.color[3])) {
        slots.color[1] = Average(slots.color[0], slots.color[3]);
        slots.of[1] = slots.of[2] = 1;
        return;
      }
    } else if (step == 2) {
      if (!later1) return;
      if (kShareThree > PlaneStatistic(slots.color[2])) {
        slots.color[1] = Average(slots.color[0], slots.color[3], slots.color[2]);
        slots.of[1] = 1;
        return;
      }
    }
  }
}

}  // namespace
}  // namespace tlr2
