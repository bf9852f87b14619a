// Eight floats in a 256-bit register: a part of the lanes of avx and avx2, which differ in products that are summed and
// in integers. Included by the lanes.
#pragma once

#include "kernels/lanes/quad.h"

namespace tlr2 {
namespace {

struct FloatsPart {
  __m256 v;
};
struct MaskPart {
  __m256 v;  // all bits of a lane, or none
};

LANE_FN FloatsPart Splat(float v) { return {_mm256_set1_ps(v)}; }
LANE_FN MaskPart NoLane() { return {_mm256_setzero_ps()}; }

// Arithmetic.
LANE_FN FloatsPart Add(FloatsPart x, FloatsPart y) { return {_mm256_add_ps(x.v, y.v)}; }
LANE_FN FloatsPart Sub(FloatsPart x, FloatsPart y) { return {_mm256_sub_ps(x.v, y.v)}; }
LANE_FN FloatsPart Mul(FloatsPart x, FloatsPart y) { return {_mm256_mul_ps(x.v, y.v)}; }
LANE_FN FloatsPart Div(FloatsPart x, FloatsPart y) { return {_mm256_div_ps(x.v, y.v)}; }
/// x > y ? x : y, so the second operand where either is NaN.
LANE_FN FloatsPart Max(FloatsPart x, FloatsPart y) { return {_mm256_max_ps(x.v, y.v)}; }
LANE_FN FloatsPart Abs(FloatsPart x) {
  const __m256 m = _mm256_castsi256_ps(_mm256_set1_epi32(0x7FFFFFFF));
  return {_mm256_and_ps(x.v, m)};
}
LANE_FN FloatsPart Xor(FloatsPart x, FloatsPart y) { return {_mm256_xor_ps(x.v, y.v)}; }
LANE_FN FloatsPart Floor(FloatsPart x) { return {_mm256_floor_ps(x.v)}; }

// Comparisons: ordered but for NotEqual.
LANE_FN MaskPart Less(FloatsPart x, FloatsPart y) { return {_mm256_cmp_ps(x.v, y.v, _CMP_LT_OQ)}; }
LANE_FN MaskPart LessEqual(FloatsPart x, FloatsPart y) { return {_mm256_cmp_ps(x.v, y.v, _CMP_LE_OQ)}; }
LANE_FN MaskPart Equal(FloatsPart x, FloatsPart y) { return {_mm256_cmp_ps(x.v, y.v, _CMP_EQ_OQ)}; }
LANE_FN MaskPart NotEqual(FloatsPart x, FloatsPart y) { return {_mm256_cmp_ps(x.v, y.v, _CMP_NEQ_UQ)}; }

// Masks.
LANE_FN MaskPart And(MaskPart x, MaskPart y) { return {_mm256_and_ps(x.v, y.v)}; }
LANE_FN MaskPart Or(MaskPart x, MaskPart y) { return {_mm256_or_ps(x.v, y.v)}; }
LANE_FN unsigned LiveBits(MaskPart m) { return static_cast<unsigned>(_mm256_movemask_ps(m.v)); }
LANE_FN bool Any(MaskPart m) { return _mm256_movemask_ps(m.v) != 0; }
LANE_FN bool All(MaskPart m) { return _mm256_movemask_ps(m.v) == 255; }
LANE_FN FloatsPart Select(MaskPart m, FloatsPart x, FloatsPart y) {
#if defined(__GNUC__) && !defined(__clang__) && !defined(__AVX2__)
  // GCC turns the intrinsic into a comparison of integers, which without 256-bit integers it takes lane by lane.
  __m256 selected;
  __asm__("vblendvps %3, %2, %1, %0" : "=x"(selected) : "x"(y.v), "xm"(x.v), "x"(m.v));
  return {selected};
#else
  return {_mm256_blendv_ps(y.v, x.v, m.v)};
#endif
}

// Across lanes.
/// Pairwise tree over adjacent lanes of two parts.
LANE_FN float Sum(FloatsPart x, FloatsPart y) {
  const __m256 pairs = _mm256_hadd_ps(x.v, y.v);
  const __m256 fours = _mm256_hadd_ps(pairs, pairs);
  const __m128 eights = _mm_add_ps(_mm256_castps256_ps128(fours), _mm256_extractf128_ps(fours, 1));
  return _mm_cvtss_f32(_mm_add_ss(eights, _mm_shuffle_ps(eights, eights, 0x55)));
}
LANE_FN float Greatest(FloatsPart x) {
  __m128 m = _mm_max_ps(_mm256_castps256_ps128(x.v), _mm256_extractf128_ps(x.v, 1));
  m = _mm_max_ps(m, _mm_movehl_ps(m, m));
  return _mm_cvtss_f32(_mm_max_ss(m, _mm_shuffle_ps(m, m, 0x55)));
}
/// Over all lanes of two parts.
LANE_FN Extremes ExtremesOf(FloatsPart x, FloatsPart y) {
  const __m256 high = _mm256_max_ps(x.v, y.v);
  const __m256 low = _mm256_xor_ps(_mm256_min_ps(x.v, y.v), _mm256_set1_ps(-0.0f));
  // The greatest lanes into the lower 128 bits, the least ones, negated, into the upper ones.
  __m256 m = _mm256_max_ps(_mm256_permute2f128_ps(high, low, 0x20), _mm256_permute2f128_ps(high, low, 0x31));
  m = _mm256_max_ps(m, _mm256_permute_ps(m, 0x4E));
  m = _mm256_max_ps(m, _mm256_permute_ps(m, 0xB1));
  return {_mm_cvtss_f32(_mm256_castps256_ps128(m)), _mm_cvtss_f32(_mm256_extractf128_ps(m, 1))};
}
/// Lanes 3, 2, 1, 0 of each group of four.
LANE_FN FloatsPart ReverseGroups(FloatsPart x) { return {_mm256_permute_ps(x.v, _MM_SHUFFLE(0, 1, 2, 3))}; }
/// Lanes 2, 3, 0, 1 of each group of four.
LANE_FN FloatsPart SwapGroupHalves(FloatsPart x) { return {_mm256_permute_ps(x.v, _MM_SHUFFLE(1, 0, 3, 2))}; }

// Four quads, one a corner of the tile: left and right ones side by side.
struct Quads {
  __m256 upper, lower;
};
LANE_FN __m256 TwoQuads(Quad x, Quad y) { return _mm256_insertf128_ps(_mm256_castps128_ps256(x.v), y.v, 1); }
LANE_FN Quads Each(Quad x) {
  const __m256 both = TwoQuads(x, x);
  return {both, both};
}
LANE_FN Quads CornerColumns(Quad left, Quad right) {
  const __m256 both = TwoQuads(left, right);
  return {both, both};
}
LANE_FN Quads CornerRows(Quad top, Quad bottom) { return {TwoQuads(top, top), TwoQuads(bottom, bottom)}; }
LANE_FN Quads Add(Quads x, Quads y) { return {_mm256_add_ps(x.upper, y.upper), _mm256_add_ps(x.lower, y.lower)}; }
LANE_FN Quads Sub(Quads x, Quads y) { return {_mm256_sub_ps(x.upper, y.upper), _mm256_sub_ps(x.lower, y.lower)}; }
LANE_FN Quads Mul(Quads x, Quads y) { return {_mm256_mul_ps(x.upper, y.upper), _mm256_mul_ps(x.lower, y.lower)}; }
LANE_FN Quads Xor(Quads x, Quads y) { return {_mm256_xor_ps(x.upper, y.upper), _mm256_xor_ps(x.lower, y.lower)}; }
LANE_FN Quads MulSub(Quads x, Quads y, Quads z) {
#if TLR2_LANES_FUSE
  return {_mm256_fmsub_ps(x.upper, y.upper, z.upper), _mm256_fmsub_ps(x.lower, y.lower, z.lower)};
#else
  return Sub(Mul(x, y), z);
#endif
}
/// Whether one of the first three elements is less than 0 at all corners.
LANE_FN bool OneBelowAtAll(Quads x) {
  const __m256 zero = _mm256_setzero_ps();
  const int both = _mm256_movemask_ps(
      _mm256_and_ps(_mm256_cmp_ps(x.upper, zero, _CMP_LT_OQ), _mm256_cmp_ps(x.lower, zero, _CMP_LT_OQ)));
  return (both & both >> 4 & 7) != 0;
}
/// Whether the first three elements are 0 or more at all corners.
LANE_FN bool NotBelowAtAny(Quads x) {
  const __m256 zero = _mm256_setzero_ps();
  const int both = _mm256_movemask_ps(
      _mm256_and_ps(_mm256_cmp_ps(zero, x.upper, _CMP_LE_OQ), _mm256_cmp_ps(zero, x.lower, _CMP_LE_OQ)));
  return (both & 0x77) == 0x77;
}

// Groups of four lanes, each at its place in bytes behind `base`, aligned to 16.
constexpr int kGroupsOfPart = 2;
LANE_FN FloatsPart LoadGroups(const void* base, const std::uint16_t* places) {
  const char* first = static_cast<const char*>(base);
  return {_mm256_insertf128_ps(_mm256_castps128_ps256(_mm_load_ps(reinterpret_cast<const float*>(first + places[0]))),
                               _mm_load_ps(reinterpret_cast<const float*>(first + places[1])), 1)};
}
LANE_FN void StoreGroups(void* base, const std::uint16_t* places, FloatsPart x) {
  char* first = static_cast<char*>(base);
  _mm_store_ps(reinterpret_cast<float*>(first + places[0]), _mm256_castps256_ps128(x.v));
  _mm_store_ps(reinterpret_cast<float*>(first + places[1]), _mm256_extractf128_ps(x.v, 1));
}

/// Leaves the processor as the callers' code expects it, which knows of no wide registers. Once a tile: the targets'
/// objects are built without it between their own functions.
LANE_FN void EndLanes() { _mm256_zeroupper(); }

}  // namespace
}  // namespace tlr2
