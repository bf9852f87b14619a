// Depth of a plane's lanes and its test against the buffer.
#pragma once

namespace tlr2 {
namespace {

/// b1*z1 + b0*z0 + b2*z2, accumulated in this order.
LANE_FN FloatsPart Weigh(const PartBarycentrics& w, FloatsPart v0, FloatsPart v1, FloatsPart v2) {
  return MulAdd(w.b[2], v2, MulAdd(w.b[0], v0, Mul(w.b[1], v1)));
}
LANE_FN FloatsPart Weigh(const PartBarycentrics& w, float v0, float v1, float v2) {
  return Weigh(w, Splat(v0), Splat(v1), Splat(v2));
}

/// What becomes of a triangle's depth, chosen once for all its planes: the common tests by themselves, and written at
/// once unless an alpha test comes between, for which it is kept until the fragments are stored. What is known to pass
/// is just written.
enum class DepthStep { kNone, kLess, kLessWrite, kLessEqual, kLessEqualWrite, kOther, kOtherWrite, kKeep };

LANE_FN bool WritesDepth(const TriangleRecord& t) { return t.depthTest != 0 && t.depthWrite != 0; }

LANE_FN DepthStep DepthStepOf(const TriangleRecord& t) {
  if (t.depthTest == 0) return DepthStep::kNone;
  if (t.alphaTest != 0) return DepthStep::kKeep;
  const bool writes = t.depthWrite != 0;
  if (t.depthFunc == 1) return writes ? DepthStep::kLessWrite : DepthStep::kLess;
  if (t.depthFunc == 2) return writes ? DepthStep::kLessEqualWrite : DepthStep::kLessEqual;
  return writes ? DepthStep::kOtherWrite : DepthStep::kOther;
}
constexpr bool WritesAtOnce(DepthStep step) {
  return step == DepthStep::kLessWrite || step == DepthStep::kLessEqualWrite || step == DepthStep::kOtherWrite;
}

/// Ordered comparisons but for "not equal"; an unknown function passes nothing.
template <DepthStep kStep>
LANE_FN MaskPart DepthPasses(std::uint32_t function, FloatsPart z, FloatsPart stored) {
  if constexpr (kStep == DepthStep::kLess || kStep == DepthStep::kLessWrite) return Less(z, stored);
  if constexpr (kStep == DepthStep::kLessEqual || kStep == DepthStep::kLessEqualWrite) return LessEqual(z, stored);
  switch (function) {
    case 0:
      return AllLanesOfPart();
    case 1:
      return Less(z, stored);
    case 2:
      return LessEqual(z, stored);
    case 3:
      return Equal(z, stored);
    case 4:
      return LessEqual(stored, z);
    case 5:
      return Less(stored, z);
    case 6:
      return NotEqual(z, stored);
    default:
      return NoLane();
  }
}

}  // namespace
}  // namespace tlr2
