// Four floats in a 128-bit register, for a triangle's three edges at once. Included by the lanes, which say whether
// products fuse.
#pragma once

namespace tlr2 {
namespace {

/// Of all lanes; anything where one is NaN.
struct Extremes {
  float greatest, leastNegated;
};

struct Quad {
  __m128 v;
};

LANE_FN Quad SplatQuad(float x) { return {_mm_set1_ps(x)}; }
/// Reads four floats.
LANE_FN Quad LoadQuad(const float* from) { return {_mm_loadu_ps(from)}; }
LANE_FN void StoreQuad(float* to, Quad x) { _mm_storeu_ps(to, x.v); }
/// Elements 1, 2, 0: each edge's end beside its start.
LANE_FN Quad Rotate(Quad x) { return {_mm_shuffle_ps(x.v, x.v, _MM_SHUFFLE(3, 0, 2, 1))}; }
LANE_FN Quad Add(Quad x, Quad y) { return {_mm_add_ps(x.v, y.v)}; }
LANE_FN Quad Sub(Quad x, Quad y) { return {_mm_sub_ps(x.v, y.v)}; }
LANE_FN Quad Mul(Quad x, Quad y) { return {_mm_mul_ps(x.v, y.v)}; }
LANE_FN Quad Xor(Quad x, Quad y) { return {_mm_xor_ps(x.v, y.v)}; }
LANE_FN Quad And(Quad x, Quad y) { return {_mm_and_ps(x.v, y.v)}; }
LANE_FN Quad Or(Quad x, Quad y) { return {_mm_or_ps(x.v, y.v)}; }
LANE_FN Quad Less(Quad x, Quad y) { return {_mm_cmplt_ps(x.v, y.v)}; }
LANE_FN Quad LessEqual(Quad x, Quad y) { return {_mm_cmple_ps(x.v, y.v)}; }
LANE_FN Quad Equal(Quad x, Quad y) { return {_mm_cmpeq_ps(x.v, y.v)}; }
LANE_FN Quad Min(Quad x, Quad y) { return {_mm_min_ps(x.v, y.v)}; }
LANE_FN Quad Max(Quad x, Quad y) { return {_mm_max_ps(x.v, y.v)}; }
LANE_FN Quad Abs(Quad x) { return {_mm_andnot_ps(_mm_set1_ps(-0.0f), x.v)}; }
/// The sum of each one's elements, in any order.
LANE_FN Quad Sums(Quad a, Quad b, Quad c, Quad d) {
  return {_mm_hadd_ps(_mm_hadd_ps(a.v, b.v), _mm_hadd_ps(c.v, d.v))};
}
/// Elements 1, 0, 3, 2.
LANE_FN Quad SwapPairs(Quad x) { return {_mm_shuffle_ps(x.v, x.v, _MM_SHUFFLE(2, 3, 0, 1))}; }
LANE_FN float First(Quad x) { return _mm_cvtss_f32(x.v); }
LANE_FN float Third(Quad x) { return _mm_cvtss_f32(_mm_movehl_ps(x.v, x.v)); }
/// Elements 2, 0, 1, and 0 behind them: of each edge's opposite vertex.
LANE_FN Quad Opposite(Quad x) {
  const __m128 turned = _mm_shuffle_ps(x.v, x.v, _MM_SHUFFLE(3, 1, 0, 2));
  return {_mm_blend_ps(turned, _mm_setzero_ps(), 8)};
}
/// Of three floats, none of which is NaN.
LANE_FN float Least(const float (&x)[3]) {
  const float first = x[0] < x[1] ? x[0] : x[1];
  return first < x[2] ? first : x[2];
}
LANE_FN float Greatest(const float (&x)[3]) {
  const float first = x[0] > x[1] ? x[0] : x[1];
  return first > x[2] ? first : x[2];
}
/// 0 in the last element.
LANE_FN Quad OnlyThree(Quad x) { return {_mm_blend_ps(x.v, _mm_setzero_ps(), 8)}; }
/// Elements 0, 1, 2, 2: nothing behind three floats takes part.
LANE_FN Quad FirstThree(Quad x) { return {_mm_shuffle_ps(x.v, x.v, _MM_SHUFFLE(2, 2, 1, 0))}; }
/// Bytes 0 to 3 of a word, from the lowest.
LANE_FN Quad BytesAsFloats(std::uint32_t word) {
  return {_mm_cvtepi32_ps(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(static_cast<int>(word))))};
}
/// Bits of the first three elements' masks.
LANE_FN int EdgeBits(Quad mask) { return _mm_movemask_ps(mask.v) & 7; }
LANE_FN Quad MulSub(Quad x, Quad y, Quad z) {
#if TLR2_LANES_FUSE
  return {_mm_fmsub_ps(x.v, y.v, z.v)};
#else
  return Sub(Mul(x, y), z);
#endif
}

}  // namespace
}  // namespace tlr2
