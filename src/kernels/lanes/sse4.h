// Lanes of the sse4 target: eight, in two 128-bit registers. Products are rounded before they are added.
#pragma once

#include <smmintrin.h>

#include <cstddef>
#include <cstdint>

#include "kernels/lanes/inline.h"

#define TLR2_LANES_FUSE 0
#include "kernels/lanes/quad.h"

namespace tlr2 {
namespace {

constexpr int kLanes = 8;

struct Floats {
  __m128 a, b;
};
struct Ints {
  __m128i a, b;
};
struct Mask {
  __m128 a, b;  // all bits of a lane, or none
};

// Values.
LANE_FN Floats Splat(float v) {
  const __m128 r = _mm_set1_ps(v);
  return {r, r};
}
LANE_FN Ints Splat(std::int32_t v) {
  const __m128i r = _mm_set1_epi32(v);
  return {r, r};
}
LANE_FN Mask NoLane() { return {_mm_setzero_ps(), _mm_setzero_ps()}; }
LANE_FN Ints LaneColumns() { return {_mm_setr_epi32(0, 2, 0, 2), _mm_setr_epi32(4, 6, 4, 6)}; }
LANE_FN Ints LaneRows() {
  const __m128i r = _mm_setr_epi32(0, 2, 2, 0);
  return {r, r};
}

// Float arithmetic.
LANE_FN Floats Add(Floats x, Floats y) { return {_mm_add_ps(x.a, y.a), _mm_add_ps(x.b, y.b)}; }
LANE_FN Floats Sub(Floats x, Floats y) { return {_mm_sub_ps(x.a, y.a), _mm_sub_ps(x.b, y.b)}; }
LANE_FN Floats Mul(Floats x, Floats y) { return {_mm_mul_ps(x.a, y.a), _mm_mul_ps(x.b, y.b)}; }
LANE_FN Floats Div(Floats x, Floats y) { return {_mm_div_ps(x.a, y.a), _mm_div_ps(x.b, y.b)}; }
LANE_FN Floats MulAdd(Floats x, Floats y, Floats z) { return Add(Mul(x, y), z); }
LANE_FN Floats MulSub(Floats x, Floats y, Floats z) { return Sub(Mul(x, y), z); }
LANE_FN float MulSub(float x, float y, float z) { return x * y - z; }
/// x > y ? x : y, so the second operand where either is NaN.
LANE_FN Floats Max(Floats x, Floats y) { return {_mm_max_ps(x.a, y.a), _mm_max_ps(x.b, y.b)}; }
LANE_FN Floats Abs(Floats x) {
  const __m128 m = _mm_castsi128_ps(_mm_set1_epi32(0x7FFFFFFF));
  return {_mm_and_ps(x.a, m), _mm_and_ps(x.b, m)};
}
LANE_FN Floats Xor(Floats x, Floats y) { return {_mm_xor_ps(x.a, y.a), _mm_xor_ps(x.b, y.b)}; }
LANE_FN Floats Floor(Floats x) { return {_mm_floor_ps(x.a), _mm_floor_ps(x.b)}; }
/// Toward zero; NaN and what does not fit give 0x80000000.
LANE_FN Ints Truncate(Floats x) { return {_mm_cvttps_epi32(x.a), _mm_cvttps_epi32(x.b)}; }
LANE_FN Floats ToFloats(Ints x) { return {_mm_cvtepi32_ps(x.a), _mm_cvtepi32_ps(x.b)}; }
LANE_FN Ints Bits(Floats x) { return {_mm_castps_si128(x.a), _mm_castps_si128(x.b)}; }
LANE_FN Floats FromBits(Ints x) { return {_mm_castsi128_ps(x.a), _mm_castsi128_ps(x.b)}; }

// Float comparisons: ordered but for NotEqual.
LANE_FN Mask Less(Floats x, Floats y) { return {_mm_cmplt_ps(x.a, y.a), _mm_cmplt_ps(x.b, y.b)}; }
LANE_FN Mask LessEqual(Floats x, Floats y) { return {_mm_cmple_ps(x.a, y.a), _mm_cmple_ps(x.b, y.b)}; }
LANE_FN Mask Equal(Floats x, Floats y) { return {_mm_cmpeq_ps(x.a, y.a), _mm_cmpeq_ps(x.b, y.b)}; }
LANE_FN Mask NotEqual(Floats x, Floats y) { return {_mm_cmpneq_ps(x.a, y.a), _mm_cmpneq_ps(x.b, y.b)}; }

// Integer arithmetic, in 32 bits, wrapping.
LANE_FN Ints Add(Ints x, Ints y) { return {_mm_add_epi32(x.a, y.a), _mm_add_epi32(x.b, y.b)}; }
LANE_FN Ints Sub(Ints x, Ints y) { return {_mm_sub_epi32(x.a, y.a), _mm_sub_epi32(x.b, y.b)}; }
LANE_FN Ints Mul(Ints x, Ints y) { return {_mm_mullo_epi32(x.a, y.a), _mm_mullo_epi32(x.b, y.b)}; }
LANE_FN Ints And(Ints x, Ints y) { return {_mm_and_si128(x.a, y.a), _mm_and_si128(x.b, y.b)}; }
LANE_FN Ints Min(Ints x, Ints y) { return {_mm_min_epi32(x.a, y.a), _mm_min_epi32(x.b, y.b)}; }
LANE_FN Ints Max(Ints x, Ints y) { return {_mm_max_epi32(x.a, y.a), _mm_max_epi32(x.b, y.b)}; }
template <int N>
LANE_FN Ints ShiftLeft(Ints x) {
  return {_mm_slli_epi32(x.a, N), _mm_slli_epi32(x.b, N)};
}
template <int N>
LANE_FN Ints ShiftRight(Ints x) {
  return {_mm_srli_epi32(x.a, N), _mm_srli_epi32(x.b, N)};
}
LANE_FN Mask Less(Ints x, Ints y) {
  return {_mm_castsi128_ps(_mm_cmplt_epi32(x.a, y.a)), _mm_castsi128_ps(_mm_cmplt_epi32(x.b, y.b))};
}
LANE_FN Mask Equal(Ints x, Ints y) {
  return {_mm_castsi128_ps(_mm_cmpeq_epi32(x.a, y.a)), _mm_castsi128_ps(_mm_cmpeq_epi32(x.b, y.b))};
}

// Masks.
LANE_FN Mask And(Mask x, Mask y) { return {_mm_and_ps(x.a, y.a), _mm_and_ps(x.b, y.b)}; }
LANE_FN Mask Or(Mask x, Mask y) { return {_mm_or_ps(x.a, y.a), _mm_or_ps(x.b, y.b)}; }
LANE_FN unsigned LiveBits(Mask m) {
  return static_cast<unsigned>(_mm_movemask_ps(m.a)) | static_cast<unsigned>(_mm_movemask_ps(m.b)) << 4;
}
LANE_FN bool Any(Mask m) { return _mm_movemask_ps(_mm_or_ps(m.a, m.b)) != 0; }
LANE_FN bool All(Mask m) { return _mm_movemask_ps(_mm_and_ps(m.a, m.b)) == 15; }
LANE_FN Floats Select(Mask m, Floats x, Floats y) {
  return {_mm_blendv_ps(y.a, x.a, m.a), _mm_blendv_ps(y.b, x.b, m.b)};
}
LANE_FN Ints Select(Mask m, Ints x, Ints y) { return Bits(Select(m, FromBits(x), FromBits(y))); }

// Across lanes.
/// Pairwise tree over adjacent lanes.
LANE_FN float Sum(Floats x) {
  const __m128 pairs = _mm_hadd_ps(x.a, x.b);
  const __m128 fours = _mm_hadd_ps(pairs, pairs);
  return _mm_cvtss_f32(_mm_add_ss(fours, _mm_shuffle_ps(fours, fours, 0x55)));
}
LANE_FN float Greatest(Floats x) {
  __m128 m = _mm_max_ps(x.a, x.b);
  m = _mm_max_ps(m, _mm_movehl_ps(m, m));
  return _mm_cvtss_f32(_mm_max_ss(m, _mm_shuffle_ps(m, m, 0x55)));
}
LANE_FN std::int32_t FirstLane(Ints x) { return _mm_cvtsi128_si32(x.a); }
/// Lanes 3, 2, 1, 0 of each group of four.
LANE_FN Floats ReverseGroups(Floats x) {
  return {_mm_shuffle_ps(x.a, x.a, _MM_SHUFFLE(0, 1, 2, 3)), _mm_shuffle_ps(x.b, x.b, _MM_SHUFFLE(0, 1, 2, 3))};
}
/// Lanes 2, 3, 0, 1 of each group of four.
LANE_FN Floats SwapGroupHalves(Floats x) {
  return {_mm_shuffle_ps(x.a, x.a, _MM_SHUFFLE(1, 0, 3, 2)), _mm_shuffle_ps(x.b, x.b, _MM_SHUFFLE(1, 0, 3, 2))};
}

// Colours.
/// Channels truncated, clamped to a byte and packed 0xAARRGGBB.
LANE_FN __m128i PackQuarter(__m128 blue, __m128 green, __m128 red, __m128 alpha) {
  // Saturating to 16 and then to 8 bits clamps as the 32-bit clamp would, 0x80000000 to 0 included.
  const __m128i bg = _mm_packs_epi32(_mm_cvttps_epi32(blue), _mm_cvttps_epi32(green));
  const __m128i ra = _mm_packs_epi32(_mm_cvttps_epi32(red), _mm_cvttps_epi32(alpha));
  return _mm_shuffle_epi8(_mm_packus_epi16(bg, ra),
                          _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
}
LANE_FN Ints PackBytes(Floats red, Floats green, Floats blue, Floats alpha) {
  return {PackQuarter(blue.a, green.a, red.a, alpha.a), PackQuarter(blue.b, green.b, red.b, alpha.b)};
}

// Memory.
LANE_FN std::int32_t WordAt(const void* base, std::int32_t byteOffset) {
  std::int32_t word;
  __builtin_memcpy(&word, static_cast<const char*>(base) + byteOffset, 4);
  return word;
}
/// Words at byte offsets, all lanes.
LANE_FN Ints Gather(const void* base, Ints byteOffsets) {
  alignas(16) std::int32_t o[kLanes];
  _mm_store_si128(reinterpret_cast<__m128i*>(o), byteOffsets.a);
  _mm_store_si128(reinterpret_cast<__m128i*>(o + 4), byteOffsets.b);
  return {_mm_setr_epi32(WordAt(base, o[0]), WordAt(base, o[1]), WordAt(base, o[2]), WordAt(base, o[3])),
          _mm_setr_epi32(WordAt(base, o[4]), WordAt(base, o[5]), WordAt(base, o[6]), WordAt(base, o[7]))};
}
/// The words at byte offsets and the words right behind them.
LANE_FN void GatherPairs(const void* base, Ints byteOffsets, Ints& first, Ints& second) {
  alignas(16) std::int32_t o[kLanes];
  _mm_store_si128(reinterpret_cast<__m128i*>(o), byteOffsets.a);
  _mm_store_si128(reinterpret_cast<__m128i*>(o + 4), byteOffsets.b);
  const auto pair = [base, &o](int i) __attribute__((always_inline)) {
    const char* bytes = static_cast<const char*>(base);
    const __m128i low = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(bytes + o[i]));
    return _mm_loadh_pi(_mm_castsi128_ps(low), reinterpret_cast<const __m64*>(bytes + o[i + 1]));
  };
  const __m128 p0 = pair(0), p2 = pair(2), p4 = pair(4), p6 = pair(6);
  first = {_mm_castps_si128(_mm_shuffle_ps(p0, p2, 0x88)), _mm_castps_si128(_mm_shuffle_ps(p4, p6, 0x88))};
  second = {_mm_castps_si128(_mm_shuffle_ps(p0, p2, 0xDD)), _mm_castps_si128(_mm_shuffle_ps(p4, p6, 0xDD))};
}
/// Words of the live lanes, 0 in the others, which are not read.
LANE_FN Ints GatherLive(const void* base, Ints byteOffsets, Mask live) {
  alignas(16) std::int32_t o[kLanes], words[kLanes] = {};
  _mm_store_si128(reinterpret_cast<__m128i*>(o), byteOffsets.a);
  _mm_store_si128(reinterpret_cast<__m128i*>(o + 4), byteOffsets.b);
  for (unsigned bits = LiveBits(live); bits != 0; bits &= bits - 1) {
    const int lane = __builtin_ctz(bits);
    words[lane] = WordAt(base, o[lane]);
  }
  return {_mm_load_si128(reinterpret_cast<const __m128i*>(words)),
          _mm_load_si128(reinterpret_cast<const __m128i*>(words + 4))};
}
/// Writes the words of the live lanes.
LANE_FN void ScatterLive(void* base, Ints byteOffsets, Ints words, Mask live) {
  alignas(16) std::int32_t o[kLanes], w[kLanes];
  _mm_store_si128(reinterpret_cast<__m128i*>(o), byteOffsets.a);
  _mm_store_si128(reinterpret_cast<__m128i*>(o + 4), byteOffsets.b);
  _mm_store_si128(reinterpret_cast<__m128i*>(w), words.a);
  _mm_store_si128(reinterpret_cast<__m128i*>(w + 4), words.b);
  for (unsigned bits = LiveBits(live); bits != 0; bits &= bits - 1) {
    const int lane = __builtin_ctz(bits);
    __builtin_memcpy(static_cast<char*>(base) + o[lane], &w[lane], 4);
  }
}
/// Pixels of two rows that lie two apart, eight wide, dealt to the even and the odd plane of the lanes.
LANE_FN void DealRows(const void* upper, const void* lower, Ints& even, Ints& odd) {
  const float* u = static_cast<const float*>(upper);
  const float* l = static_cast<const float*>(lower);
  const __m128 u0 = _mm_loadu_ps(u), u1 = _mm_loadu_ps(u + 4), l0 = _mm_loadu_ps(l), l1 = _mm_loadu_ps(l + 4);
  const __m128 p0 = _mm_blend_ps(u0, l0, 12), q0 = _mm_blend_ps(l0, u0, 12);
  const __m128 p1 = _mm_blend_ps(u1, l1, 12), q1 = _mm_blend_ps(l1, u1, 12);
  even = {_mm_castps_si128(_mm_shuffle_ps(p0, q0, 0x88)), _mm_castps_si128(_mm_shuffle_ps(p1, q1, 0x88))};
  odd = {_mm_castps_si128(_mm_shuffle_ps(p0, q0, 0xDD)), _mm_castps_si128(_mm_shuffle_ps(p1, q1, 0xDD))};
}
LANE_FN void JoinRows(void* upper, void* lower, Ints even, Ints odd) {
  float* u = static_cast<float*>(upper);
  float* l = static_cast<float*>(lower);
  const __m128 p0 = _mm_castsi128_ps(_mm_unpacklo_epi32(even.a, odd.a));
  const __m128 q0 = _mm_castsi128_ps(_mm_unpackhi_epi32(even.a, odd.a));
  const __m128 p1 = _mm_castsi128_ps(_mm_unpacklo_epi32(even.b, odd.b));
  const __m128 q1 = _mm_castsi128_ps(_mm_unpackhi_epi32(even.b, odd.b));
  _mm_storeu_ps(u, _mm_blend_ps(p0, q0, 12));
  _mm_storeu_ps(l, _mm_blend_ps(q0, p0, 12));
  _mm_storeu_ps(u + 4, _mm_blend_ps(p1, q1, 12));
  _mm_storeu_ps(l + 4, _mm_blend_ps(q1, p1, 12));
}
/// The tile's rows of one plane row `dy`, row 0 of the step first: even columns to `even`, odd ones to `odd`.
LANE_FN void LoadPlaneRows(const void* rows, std::ptrdiff_t strideBytes, Ints& even, Ints& odd) {
  DealRows(rows, static_cast<const char*>(rows) + 2 * strideBytes, even, odd);
}
LANE_FN void StorePlaneRows(void* rows, std::ptrdiff_t strideBytes, Ints even, Ints odd) {
  JoinRows(rows, static_cast<char*>(rows) + 2 * strideBytes, even, odd);
}

}  // namespace
}  // namespace tlr2
