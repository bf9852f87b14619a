// Depth of a plane's lanes and its test against the buffer.
#pragma once

namespace tlr2 {
namespace {

/// b1*z1 + b0*z0 + b2*z2, accumulated in this order.
template <typename Lanes>
LANE_FN Lanes Weigh(const BarycentricsOf<Lanes>& w, float v0, float v1, float v2) {
  return MulAdd(w.b[2], Splat(v2), MulAdd(w.b[0], Splat(v0), Mul(w.b[1], Splat(v1))));
}

/// Ordered comparisons but for "not equal"; an unknown function passes nothing.
LANE_FN Mask DepthPasses(std::uint32_t function, Floats z, Floats stored, Mask covered) {
  switch (function) {
    case 0:
      return covered;
    case 1:
      return And(covered, Less(z, stored));
    case 2:
      return And(covered, LessEqual(z, stored));
    case 3:
      return And(covered, Equal(z, stored));
    case 4:
      return And(covered, LessEqual(stored, z));
    case 5:
      return And(covered, Less(stored, z));
    case 6:
      return And(covered, NotEqual(z, stored));
    default:
      return NoLane();
  }
}

}  // namespace
}  // namespace tlr2
