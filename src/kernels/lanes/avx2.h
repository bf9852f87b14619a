// Lanes of the avx2 target: sixteen, in two 256-bit registers, with fused products and hardware gathers.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "kernels/lanes/inline.h"

#define TLR2_LANES_FUSE 1
#include "kernels/lanes/quad.h"

namespace tlr2 {
namespace {

constexpr int kLanes = 16;

struct Floats {
  __m256 a, b;
};
struct Ints {
  __m256i a, b;
};
struct Mask {
  __m256 a, b;  // all bits of a lane, or none
};

// Values.
LANE_FN Floats Splat(float v) {
  const __m256 r = _mm256_set1_ps(v);
  return {r, r};
}
LANE_FN Ints Splat(std::int32_t v) {
  const __m256i r = _mm256_set1_epi32(v);
  return {r, r};
}
LANE_FN Mask NoLane() { return {_mm256_setzero_ps(), _mm256_setzero_ps()}; }
LANE_FN Ints LaneColumns() {
  const __m256i r = _mm256_setr_epi32(0, 2, 0, 2, 4, 6, 4, 6);
  return {r, r};
}
LANE_FN Ints LaneRows() {
  return {_mm256_setr_epi32(0, 2, 2, 0, 0, 2, 2, 0), _mm256_setr_epi32(4, 6, 6, 4, 4, 6, 6, 4)};
}

// Float arithmetic.
LANE_FN Floats Add(Floats x, Floats y) { return {_mm256_add_ps(x.a, y.a), _mm256_add_ps(x.b, y.b)}; }
LANE_FN Floats Sub(Floats x, Floats y) { return {_mm256_sub_ps(x.a, y.a), _mm256_sub_ps(x.b, y.b)}; }
LANE_FN Floats Mul(Floats x, Floats y) { return {_mm256_mul_ps(x.a, y.a), _mm256_mul_ps(x.b, y.b)}; }
LANE_FN Floats Div(Floats x, Floats y) { return {_mm256_div_ps(x.a, y.a), _mm256_div_ps(x.b, y.b)}; }
LANE_FN Floats MulAdd(Floats x, Floats y, Floats z) {
  return {_mm256_fmadd_ps(x.a, y.a, z.a), _mm256_fmadd_ps(x.b, y.b, z.b)};
}
LANE_FN Floats MulSub(Floats x, Floats y, Floats z) {
  return {_mm256_fmsub_ps(x.a, y.a, z.a), _mm256_fmsub_ps(x.b, y.b, z.b)};
}
LANE_FN float MulSub(float x, float y, float z) {
  return _mm_cvtss_f32(_mm_fmsub_ss(_mm_set_ss(x), _mm_set_ss(y), _mm_set_ss(z)));
}
/// x > y ? x : y, so the second operand where either is NaN.
LANE_FN Floats Max(Floats x, Floats y) { return {_mm256_max_ps(x.a, y.a), _mm256_max_ps(x.b, y.b)}; }
LANE_FN Floats Abs(Floats x) {
  const __m256 m = _mm256_castsi256_ps(_mm256_set1_epi32(0x7FFFFFFF));
  return {_mm256_and_ps(x.a, m), _mm256_and_ps(x.b, m)};
}
LANE_FN Floats Xor(Floats x, Floats y) { return {_mm256_xor_ps(x.a, y.a), _mm256_xor_ps(x.b, y.b)}; }
LANE_FN Floats Floor(Floats x) { return {_mm256_floor_ps(x.a), _mm256_floor_ps(x.b)}; }
/// Toward zero; NaN and what does not fit give 0x80000000.
LANE_FN Ints Truncate(Floats x) { return {_mm256_cvttps_epi32(x.a), _mm256_cvttps_epi32(x.b)}; }
LANE_FN Floats ToFloats(Ints x) { return {_mm256_cvtepi32_ps(x.a), _mm256_cvtepi32_ps(x.b)}; }
LANE_FN Ints Bits(Floats x) { return {_mm256_castps_si256(x.a), _mm256_castps_si256(x.b)}; }
LANE_FN Floats FromBits(Ints x) { return {_mm256_castsi256_ps(x.a), _mm256_castsi256_ps(x.b)}; }

// Float comparisons: ordered but for NotEqual.
LANE_FN Mask Less(Floats x, Floats y) {
  return {_mm256_cmp_ps(x.a, y.a, _CMP_LT_OQ), _mm256_cmp_ps(x.b, y.b, _CMP_LT_OQ)};
}
LANE_FN Mask LessEqual(Floats x, Floats y) {
  return {_mm256_cmp_ps(x.a, y.a, _CMP_LE_OQ), _mm256_cmp_ps(x.b, y.b, _CMP_LE_OQ)};
}
LANE_FN Mask Equal(Floats x, Floats y) {
  return {_mm256_cmp_ps(x.a, y.a, _CMP_EQ_OQ), _mm256_cmp_ps(x.b, y.b, _CMP_EQ_OQ)};
}
LANE_FN Mask NotEqual(Floats x, Floats y) {
  return {_mm256_cmp_ps(x.a, y.a, _CMP_NEQ_UQ), _mm256_cmp_ps(x.b, y.b, _CMP_NEQ_UQ)};
}

// Integer arithmetic, in 32 bits, wrapping.
LANE_FN Ints Add(Ints x, Ints y) { return {_mm256_add_epi32(x.a, y.a), _mm256_add_epi32(x.b, y.b)}; }
LANE_FN Ints Sub(Ints x, Ints y) { return {_mm256_sub_epi32(x.a, y.a), _mm256_sub_epi32(x.b, y.b)}; }
LANE_FN Ints Mul(Ints x, Ints y) { return {_mm256_mullo_epi32(x.a, y.a), _mm256_mullo_epi32(x.b, y.b)}; }
LANE_FN Ints And(Ints x, Ints y) { return {_mm256_and_si256(x.a, y.a), _mm256_and_si256(x.b, y.b)}; }
LANE_FN Ints Min(Ints x, Ints y) { return {_mm256_min_epi32(x.a, y.a), _mm256_min_epi32(x.b, y.b)}; }
LANE_FN Ints Max(Ints x, Ints y) { return {_mm256_max_epi32(x.a, y.a), _mm256_max_epi32(x.b, y.b)}; }
template <int N>
LANE_FN Ints ShiftLeft(Ints x) {
  return {_mm256_slli_epi32(x.a, N), _mm256_slli_epi32(x.b, N)};
}
template <int N>
LANE_FN Ints ShiftRight(Ints x) {
  return {_mm256_srli_epi32(x.a, N), _mm256_srli_epi32(x.b, N)};
}
LANE_FN Mask Less(Ints x, Ints y) {
  return {_mm256_castsi256_ps(_mm256_cmpgt_epi32(y.a, x.a)), _mm256_castsi256_ps(_mm256_cmpgt_epi32(y.b, x.b))};
}
LANE_FN Mask Equal(Ints x, Ints y) {
  return {_mm256_castsi256_ps(_mm256_cmpeq_epi32(x.a, y.a)), _mm256_castsi256_ps(_mm256_cmpeq_epi32(x.b, y.b))};
}

// Masks.
LANE_FN Mask And(Mask x, Mask y) { return {_mm256_and_ps(x.a, y.a), _mm256_and_ps(x.b, y.b)}; }
LANE_FN Mask Or(Mask x, Mask y) { return {_mm256_or_ps(x.a, y.a), _mm256_or_ps(x.b, y.b)}; }
LANE_FN bool Any(Mask m) { return _mm256_movemask_ps(_mm256_or_ps(m.a, m.b)) != 0; }
LANE_FN bool All(Mask m) { return _mm256_movemask_ps(_mm256_and_ps(m.a, m.b)) == 255; }
LANE_FN Floats Select(Mask m, Floats x, Floats y) {
  return {_mm256_blendv_ps(y.a, x.a, m.a), _mm256_blendv_ps(y.b, x.b, m.b)};
}
LANE_FN Ints Select(Mask m, Ints x, Ints y) { return Bits(Select(m, FromBits(x), FromBits(y))); }

// Across lanes.
/// Pairwise tree over adjacent lanes.
LANE_FN float Sum(Floats x) {
  const __m256 pairs = _mm256_hadd_ps(x.a, x.b);
  const __m256 fours = _mm256_hadd_ps(pairs, pairs);
  const __m128 eights = _mm_add_ps(_mm256_castps256_ps128(fours), _mm256_extractf128_ps(fours, 1));
  return _mm_cvtss_f32(_mm_add_ss(eights, _mm_shuffle_ps(eights, eights, 0x55)));
}
LANE_FN float Greatest(Floats x) {
  const __m256 eights = _mm256_max_ps(x.a, x.b);
  __m128 m = _mm_max_ps(_mm256_castps256_ps128(eights), _mm256_extractf128_ps(eights, 1));
  m = _mm_max_ps(m, _mm_movehl_ps(m, m));
  return _mm_cvtss_f32(_mm_max_ss(m, _mm_shuffle_ps(m, m, 0x55)));
}
LANE_FN std::int32_t FirstLane(Ints x) { return _mm_cvtsi128_si32(_mm256_castsi256_si128(x.a)); }
/// Lanes 3, 2, 1, 0 of each group of four.
LANE_FN Floats ReverseGroups(Floats x) {
  return {_mm256_permute_ps(x.a, _MM_SHUFFLE(0, 1, 2, 3)), _mm256_permute_ps(x.b, _MM_SHUFFLE(0, 1, 2, 3))};
}
/// Lanes 2, 3, 0, 1 of each group of four.
LANE_FN Floats SwapGroupHalves(Floats x) {
  return {_mm256_permute_ps(x.a, _MM_SHUFFLE(1, 0, 3, 2)), _mm256_permute_ps(x.b, _MM_SHUFFLE(1, 0, 3, 2))};
}

// Colours.
/// Channels truncated, clamped to a byte and packed 0xAARRGGBB.
LANE_FN __m256i PackHalf(__m256 blue, __m256 green, __m256 red, __m256 alpha) {
  // Saturating to 16 and then to 8 bits clamps as the 32-bit clamp would, 0x80000000 to 0 included.
  const __m256i bg = _mm256_packs_epi32(_mm256_cvttps_epi32(blue), _mm256_cvttps_epi32(green));
  const __m256i ra = _mm256_packs_epi32(_mm256_cvttps_epi32(red), _mm256_cvttps_epi32(alpha));
  const __m256i order = _mm256_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15, 0, 4, 8, 12, 1, 5, 9, 13,
                                         2, 6, 10, 14, 3, 7, 11, 15);
  return _mm256_shuffle_epi8(_mm256_packus_epi16(bg, ra), order);
}
LANE_FN Ints PackBytes(Floats red, Floats green, Floats blue, Floats alpha) {
  return {PackHalf(blue.a, green.a, red.a, alpha.a), PackHalf(blue.b, green.b, red.b, alpha.b)};
}

// Memory.
/// Words at byte offsets, all lanes.
LANE_FN Ints Gather(const void* base, Ints byteOffsets) {
  const int* words = static_cast<const int*>(base);
  return {_mm256_i32gather_epi32(words, byteOffsets.a, 1), _mm256_i32gather_epi32(words, byteOffsets.b, 1)};
}
LANE_FN void GatherPairsHalf(const void* base, __m256i byteOffsets, __m256i& first, __m256i& second) {
  const long long* pairs = static_cast<const long long*>(base);
  // Lanes 0, 1, 4, 5 and lanes 2, 3, 6, 7: the shuffle then finds each lane's pair in the right 128 bits.
  const __m256i split = _mm256_permute4x64_epi64(byteOffsets, _MM_SHUFFLE(3, 1, 2, 0));
  const __m256 low = _mm256_castsi256_ps(_mm256_i32gather_epi64(pairs, _mm256_castsi256_si128(split), 1));
  const __m256 high = _mm256_castsi256_ps(_mm256_i32gather_epi64(pairs, _mm256_extracti128_si256(split, 1), 1));
  first = _mm256_castps_si256(_mm256_shuffle_ps(low, high, 0x88));
  second = _mm256_castps_si256(_mm256_shuffle_ps(low, high, 0xDD));
}
/// The words at byte offsets and the words right behind them.
LANE_FN void GatherPairs(const void* base, Ints byteOffsets, Ints& first, Ints& second) {
  GatherPairsHalf(base, byteOffsets.a, first.a, second.a);
  GatherPairsHalf(base, byteOffsets.b, first.b, second.b);
}
/// Words of the live lanes, 0 in the others, which are not read.
LANE_FN Ints GatherLive(const void* base, Ints byteOffsets, Mask live) {
  const int* words = static_cast<const int*>(base);
  const __m256i none = _mm256_setzero_si256();
  return {_mm256_mask_i32gather_epi32(none, words, byteOffsets.a, _mm256_castps_si256(live.a), 1),
          _mm256_mask_i32gather_epi32(none, words, byteOffsets.b, _mm256_castps_si256(live.b), 1)};
}
/// Writes the words of the live lanes.
LANE_FN void ScatterLive(void* base, Ints byteOffsets, Ints words, Mask live) {
  alignas(32) std::int32_t o[kLanes], w[kLanes];
  _mm256_store_si256(reinterpret_cast<__m256i*>(o), byteOffsets.a);
  _mm256_store_si256(reinterpret_cast<__m256i*>(o + 8), byteOffsets.b);
  _mm256_store_si256(reinterpret_cast<__m256i*>(w), words.a);
  _mm256_store_si256(reinterpret_cast<__m256i*>(w + 8), words.b);
  unsigned bits = static_cast<unsigned>(_mm256_movemask_ps(live.a)) | static_cast<unsigned>(_mm256_movemask_ps(live.b))
                                                                          << 8;
  for (; bits != 0; bits &= bits - 1) {
    const int lane = __builtin_ctz(bits);
    __builtin_memcpy(static_cast<char*>(base) + o[lane], &w[lane], 4);
  }
}
/// Pixels of two rows that lie two apart, eight wide, dealt to the even and the odd plane of eight lanes.
LANE_FN void DealRows(const char* upper, const char* lower, __m256i& even, __m256i& odd) {
  const __m256 u = _mm256_loadu_ps(reinterpret_cast<const float*>(upper));
  const __m256 l = _mm256_loadu_ps(reinterpret_cast<const float*>(lower));
  const __m256 p = _mm256_blend_ps(u, l, 0xCC), q = _mm256_blend_ps(l, u, 0xCC);
  even = _mm256_castps_si256(_mm256_shuffle_ps(p, q, 0x88));
  odd = _mm256_castps_si256(_mm256_shuffle_ps(p, q, 0xDD));
}
LANE_FN void JoinRows(char* upper, char* lower, __m256i even, __m256i odd) {
  const __m256 p = _mm256_castsi256_ps(_mm256_unpacklo_epi32(even, odd));
  const __m256 q = _mm256_castsi256_ps(_mm256_unpackhi_epi32(even, odd));
  _mm256_storeu_ps(reinterpret_cast<float*>(upper), _mm256_blend_ps(p, q, 0xCC));
  _mm256_storeu_ps(reinterpret_cast<float*>(lower), _mm256_blend_ps(q, p, 0xCC));
}
/// The tile's rows of one plane row, its first row first: even columns to `even`, odd ones to `odd`.
LANE_FN void LoadPlaneRows(const void* rows, std::ptrdiff_t strideBytes, Ints& even, Ints& odd) {
  const char* r = static_cast<const char*>(rows);
  DealRows(r, r + 2 * strideBytes, even.a, odd.a);
  DealRows(r + 4 * strideBytes, r + 6 * strideBytes, even.b, odd.b);
}
LANE_FN void StorePlaneRows(void* rows, std::ptrdiff_t strideBytes, Ints even, Ints odd) {
  char* r = static_cast<char*>(rows);
  JoinRows(r, r + 2 * strideBytes, even.a, odd.a);
  JoinRows(r + 4 * strideBytes, r + 6 * strideBytes, even.b, odd.b);
}

}  // namespace
}  // namespace tlr2
