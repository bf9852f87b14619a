// Shading for the scalar tile kernel: what it takes to give one plane of lanes its colours.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

#include "fused.h"
#include "records/kernel_args.h"
#include "scalar_kernel.h"

namespace tlr2::judge {

inline constexpr int kMaxLanes = 16;
inline constexpr float kOver255 = 1.0f / 255.0f;  // bits 0x3B808081

struct Barycentrics {
  float b0[kMaxLanes], b1[kMaxLanes], b2[kMaxLanes];
};

/// On the scale 0 to 255, not clamped.
struct Colors {
  float r[kMaxLanes], g[kMaxLanes], b[kMaxLanes], a[kMaxLanes];
};

/// a * b + c, the product fused on to the sum or rounded first.
template <bool Fused>
inline float MultiplyAdd(float a, float b, float c) {
  if constexpr (Fused) {
    return FusedMultiplyAdd(a, b, c);
  } else {
    const float product = a * b;
    return product + c;
  }
}

/// a * b - c.
template <bool Fused>
inline float MultiplySubtract(float a, float b, float c) {
  if constexpr (Fused) {
    return FusedMultiplySubtract(a, b, c);
  } else {
    const float product = a * b;
    return product - c;
  }
}

/// b1*v[1] + b0*v[0] + b2*v[2], from left to right.
template <bool Fused>
inline float SumOfThree(const Barycentrics& weights, int lane, const float v[3]) {
  float sum = weights.b1[lane] * v[1];
  sum = MultiplyAdd<Fused>(weights.b0[lane], v[0], sum);
  return MultiplyAdd<Fused>(weights.b2[lane], v[2], sum);
}

/// Toward zero; what does not fit gives 0x80000000, as the processor's conversion does.
inline std::int32_t TruncateLane(float value) {
  if (std::isnan(value) || value >= 2147483648.0f || value < -2147483648.0f) {
    return std::numeric_limits<std::int32_t>::min();
  }
  return static_cast<std::int32_t>(value);
}

/// Interpolates, samples and combines for all `lanes`, dead or live. `detail`, where wanted, has `lanes` elements.
template <bool Fused>
void ShadePlane(const KernelFrameArgs& args, const TriangleRecord& tri, const Barycentrics& weights, int lanes,
                Colors& out, ScalarTrace& trace, FragmentShading* detail = nullptr);

}  // namespace tlr2::judge
