// Lanes of the sse4 target: eight, in two 128-bit registers. Products are rounded before they are added.
#pragma once

#include <smmintrin.h>

#include <cstddef>
#include <cstdint>

#include "kernels/lanes/inline.h"

#define TLR2_LANES_FUSE 0
#include "kernels/lanes/quad.h"
#include "kernels/lanes/quads.h"

namespace tlr2 {
namespace {

constexpr int kLanes = 8;
constexpr bool kPartsShareColumns = false;  // the second part lies four columns right of the first

// A part: one register's lanes.
struct FloatsPart {
  __m128 v;
};
struct IntsPart {
  __m128i v;
};
struct MaskPart {
  __m128 v;  // all bits of a lane, or none
};

// Values.
LANE_FN FloatsPart Splat(float v) { return {_mm_set1_ps(v)}; }
LANE_FN IntsPart Splat(std::int32_t v) { return {_mm_set1_epi32(v)}; }
LANE_FN MaskPart NoLane() { return {_mm_setzero_ps()}; }

// Float arithmetic.
LANE_FN FloatsPart Add(FloatsPart x, FloatsPart y) { return {_mm_add_ps(x.v, y.v)}; }
LANE_FN FloatsPart Sub(FloatsPart x, FloatsPart y) { return {_mm_sub_ps(x.v, y.v)}; }
LANE_FN FloatsPart Mul(FloatsPart x, FloatsPart y) { return {_mm_mul_ps(x.v, y.v)}; }
LANE_FN FloatsPart Div(FloatsPart x, FloatsPart y) { return {_mm_div_ps(x.v, y.v)}; }
LANE_FN FloatsPart MulAdd(FloatsPart x, FloatsPart y, FloatsPart z) { return Add(Mul(x, y), z); }
LANE_FN FloatsPart MulSub(FloatsPart x, FloatsPart y, FloatsPart z) { return Sub(Mul(x, y), z); }
LANE_FN float MulSub(float x, float y, float z) { return x * y - z; }
/// x > y ? x : y, so the second operand where either is NaN.
LANE_FN FloatsPart Max(FloatsPart x, FloatsPart y) { return {_mm_max_ps(x.v, y.v)}; }
LANE_FN FloatsPart Abs(FloatsPart x) {
  const __m128 m = _mm_castsi128_ps(_mm_set1_epi32(0x7FFFFFFF));
  return {_mm_and_ps(x.v, m)};
}
LANE_FN FloatsPart Xor(FloatsPart x, FloatsPart y) { return {_mm_xor_ps(x.v, y.v)}; }
LANE_FN FloatsPart Floor(FloatsPart x) { return {_mm_floor_ps(x.v)}; }
/// Toward zero; NaN and what does not fit give 0x80000000.
LANE_FN IntsPart Truncate(FloatsPart x) { return {_mm_cvttps_epi32(x.v)}; }
LANE_FN FloatsPart ToFloats(IntsPart x) { return {_mm_cvtepi32_ps(x.v)}; }
LANE_FN IntsPart Bits(FloatsPart x) { return {_mm_castps_si128(x.v)}; }
LANE_FN FloatsPart FromBits(IntsPart x) { return {_mm_castsi128_ps(x.v)}; }

// Float comparisons: ordered but for NotEqual.
LANE_FN MaskPart Less(FloatsPart x, FloatsPart y) { return {_mm_cmplt_ps(x.v, y.v)}; }
LANE_FN MaskPart LessEqual(FloatsPart x, FloatsPart y) { return {_mm_cmple_ps(x.v, y.v)}; }
LANE_FN MaskPart Equal(FloatsPart x, FloatsPart y) { return {_mm_cmpeq_ps(x.v, y.v)}; }
LANE_FN MaskPart NotEqual(FloatsPart x, FloatsPart y) { return {_mm_cmpneq_ps(x.v, y.v)}; }

// Integer arithmetic, in 32 bits, wrapping.
LANE_FN IntsPart Add(IntsPart x, IntsPart y) { return {_mm_add_epi32(x.v, y.v)}; }
LANE_FN IntsPart Sub(IntsPart x, IntsPart y) { return {_mm_sub_epi32(x.v, y.v)}; }
LANE_FN IntsPart Mul(IntsPart x, IntsPart y) { return {_mm_mullo_epi32(x.v, y.v)}; }
LANE_FN IntsPart And(IntsPart x, IntsPart y) { return {_mm_and_si128(x.v, y.v)}; }
LANE_FN IntsPart Or(IntsPart x, IntsPart y) { return {_mm_or_si128(x.v, y.v)}; }
LANE_FN IntsPart Min(IntsPart x, IntsPart y) { return {_mm_min_epi32(x.v, y.v)}; }
LANE_FN IntsPart Max(IntsPart x, IntsPart y) { return {_mm_max_epi32(x.v, y.v)}; }
template <int N>
LANE_FN IntsPart ShiftLeft(IntsPart x) {
  return {_mm_slli_epi32(x.v, N)};
}
/// Of signed integers.
template <int N>
LANE_FN IntsPart ShiftRightSigned(IntsPart x) {
  return {_mm_srai_epi32(x.v, N)};
}
template <int N>
LANE_FN IntsPart ShiftRight(IntsPart x) {
  return {_mm_srli_epi32(x.v, N)};
}
LANE_FN MaskPart Less(IntsPart x, IntsPart y) { return {_mm_castsi128_ps(_mm_cmplt_epi32(x.v, y.v))}; }
LANE_FN MaskPart Equal(IntsPart x, IntsPart y) { return {_mm_castsi128_ps(_mm_cmpeq_epi32(x.v, y.v))}; }

// Masks.
LANE_FN MaskPart And(MaskPart x, MaskPart y) { return {_mm_and_ps(x.v, y.v)}; }
LANE_FN MaskPart Or(MaskPart x, MaskPart y) { return {_mm_or_ps(x.v, y.v)}; }
LANE_FN unsigned LiveBits(MaskPart m) { return static_cast<unsigned>(_mm_movemask_ps(m.v)); }
LANE_FN bool Any(MaskPart m) { return _mm_movemask_ps(m.v) != 0; }
LANE_FN bool All(MaskPart m) { return _mm_movemask_ps(m.v) == 15; }
LANE_FN FloatsPart Select(MaskPart m, FloatsPart x, FloatsPart y) { return {_mm_blendv_ps(y.v, x.v, m.v)}; }
LANE_FN IntsPart Select(MaskPart m, IntsPart x, IntsPart y) { return Bits(Select(m, FromBits(x), FromBits(y))); }

// Across lanes.
/// Pairwise tree over adjacent lanes of two parts.
LANE_FN float Sum(FloatsPart x, FloatsPart y) {
  const __m128 pairs = _mm_hadd_ps(x.v, y.v);
  const __m128 fours = _mm_hadd_ps(pairs, pairs);
  return _mm_cvtss_f32(_mm_add_ss(fours, _mm_shuffle_ps(fours, fours, 0x55)));
}
LANE_FN float Greatest(FloatsPart x) {
  const __m128 m = _mm_max_ps(x.v, _mm_movehl_ps(x.v, x.v));
  return _mm_cvtss_f32(_mm_max_ss(m, _mm_shuffle_ps(m, m, 0x55)));
}
/// Over all lanes of two parts.
LANE_FN Extremes ExtremesOf(FloatsPart x, FloatsPart y) {
  const __m128 high = _mm_max_ps(x.v, y.v);
  const __m128 low = _mm_xor_ps(_mm_min_ps(x.v, y.v), _mm_set1_ps(-0.0f));
  // The greatest lanes into elements 0 and 1, the least ones, negated, into 2 and 3.
  __m128 m = _mm_max_ps(_mm_movelh_ps(high, low), _mm_movehl_ps(low, high));
  m = _mm_max_ps(m, _mm_shuffle_ps(m, m, 0xB1));
  return {_mm_cvtss_f32(m), _mm_cvtss_f32(_mm_movehl_ps(m, m))};
}
/// A bit for each lane that is less than 0.
LANE_FN unsigned NegativeLanes(IntsPart x) { return static_cast<unsigned>(_mm_movemask_ps(_mm_castsi128_ps(x.v))); }
LANE_FN std::int32_t FirstLane(IntsPart x) { return _mm_cvtsi128_si32(x.v); }
/// Lanes 3, 2, 1, 0 of each group of four.
LANE_FN FloatsPart ReverseGroups(FloatsPart x) { return {_mm_shuffle_ps(x.v, x.v, _MM_SHUFFLE(0, 1, 2, 3))}; }
/// Lanes 2, 3, 0, 1 of each group of four.
LANE_FN FloatsPart SwapGroupHalves(FloatsPart x) { return {_mm_shuffle_ps(x.v, x.v, _MM_SHUFFLE(1, 0, 3, 2))}; }

// Colours.
/// Whether the highest byte of each word is 255.
LANE_FN bool HighestBytesFull(IntsPart words) {
  return _mm_testc_si128(words.v, _mm_set1_epi32(static_cast<std::int32_t>(0xFF000000))) != 0;
}
/// Channels truncated, clamped to a byte and packed 0xAARRGGBB.
LANE_FN IntsPart PackBytes(FloatsPart red, FloatsPart green, FloatsPart blue, FloatsPart alpha) {
  // Saturating to 16 and then to 8 bits clamps as the 32-bit clamp would, 0x80000000 to 0 included.
  const __m128i bg = _mm_packs_epi32(_mm_cvttps_epi32(blue.v), _mm_cvttps_epi32(green.v));
  const __m128i ra = _mm_packs_epi32(_mm_cvttps_epi32(red.v), _mm_cvttps_epi32(alpha.v));
  return {
      _mm_shuffle_epi8(_mm_packus_epi16(bg, ra), _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15))};
}

// Groups of four lanes, each at its place in bytes behind `base`, aligned to 16.
constexpr int kGroupsOfPart = 1;
LANE_FN FloatsPart LoadGroups(const void* base, const std::uint16_t* places) {
  return {_mm_load_ps(reinterpret_cast<const float*>(static_cast<const char*>(base) + places[0]))};
}
LANE_FN void StoreGroups(void* base, const std::uint16_t* places, FloatsPart x) {
  _mm_store_ps(reinterpret_cast<float*>(static_cast<char*>(base) + places[0]), x.v);
}

// Memory.
LANE_FN std::int32_t WordAt(const void* base, std::ptrdiff_t byteOffset) {
  std::int32_t word;
  __builtin_memcpy(&word, static_cast<const char*>(base) + byteOffset, 4);
  return word;
}
/// Words at offsets in units of so many bytes, all lanes.
template <int kScale>
LANE_FN IntsPart GatherByLoads(const void* base, IntsPart offsets) {
  alignas(16) std::int32_t o[4];
  _mm_store_si128(reinterpret_cast<__m128i*>(o), offsets.v);
  const auto word = [base, &o](int i)
                        __attribute__((always_inline)) { return WordAt(base, std::ptrdiff_t{o[i]} * kScale); };
  return {_mm_setr_epi32(word(0), word(1), word(2), word(3))};
}
/// Words at offsets in words, all lanes.
LANE_FN IntsPart Gather(const void* base, IntsPart offsets) { return GatherByLoads<4>(base, offsets); }
/// Two lanes' words and the words right behind them.
LANE_FN __m128 TwoPairs(const char* base, const std::int32_t* o) {
  return _mm_loadh_pi(
      _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(base + std::ptrdiff_t{o[0]} * 4))),
      reinterpret_cast<const __m64*>(base + std::ptrdiff_t{o[1]} * 4));
}
LANE_FN void PartPairs(__m128 low, __m128 high, IntsPart& first, IntsPart& second) {
  first.v = _mm_castps_si128(_mm_shuffle_ps(low, high, 0x88));
  second.v = _mm_castps_si128(_mm_shuffle_ps(low, high, 0xDD));
}
/// The words at offsets in words and the words right behind them.
LANE_FN void GatherPairs(const void* base, IntsPart offsets, IntsPart& first, IntsPart& second) {
  alignas(16) std::int32_t o[4];
  _mm_store_si128(reinterpret_cast<__m128i*>(o), offsets.v);
  const char* bytes = static_cast<const char*>(base);
  PartPairs(TwoPairs(bytes, o), TwoPairs(bytes, o + 2), first, second);
}
/// The same from two bases.
LANE_FN void GatherSquares(const char* upper, const char* lower, IntsPart offsets, IntsPart& upperFirst,
                           IntsPart& upperSecond, IntsPart& lowerFirst, IntsPart& lowerSecond) {
  alignas(16) std::int32_t o[4];
  _mm_store_si128(reinterpret_cast<__m128i*>(o), offsets.v);
  const __m128 upperLow = TwoPairs(upper, o), lowerLow = TwoPairs(lower, o);
  const __m128 upperHigh = TwoPairs(upper, o + 2), lowerHigh = TwoPairs(lower, o + 2);
  PartPairs(upperLow, upperHigh, upperFirst, upperSecond);
  PartPairs(lowerLow, lowerHigh, lowerFirst, lowerSecond);
}
/// Words of the live lanes, 0 in the others, which are not read.
LANE_FN IntsPart GatherLive(const void* base, IntsPart byteOffsets, MaskPart live) {
  alignas(16) std::int32_t o[4], words[4] = {};
  _mm_store_si128(reinterpret_cast<__m128i*>(o), byteOffsets.v);
  for (unsigned bits = LiveBits(live); bits != 0; bits &= bits - 1) {
    const int lane = __builtin_ctz(bits);
    words[lane] = WordAt(base, o[lane]);
  }
  return {_mm_load_si128(reinterpret_cast<const __m128i*>(words))};
}
/// Writes the words of the live lanes.
LANE_FN void ScatterLive(void* base, IntsPart byteOffsets, IntsPart words, MaskPart live) {
  alignas(16) std::int32_t o[4], w[4];
  _mm_store_si128(reinterpret_cast<__m128i*>(o), byteOffsets.v);
  _mm_store_si128(reinterpret_cast<__m128i*>(w), words.v);
  for (unsigned bits = LiveBits(live); bits != 0; bits &= bits - 1) {
    const int lane = __builtin_ctz(bits);
    __builtin_memcpy(static_cast<char*>(base) + o[lane], &w[lane], 4);
  }
}

}  // namespace
}  // namespace tlr2

#include "kernels/lanes/bytes.h"
#include "kernels/lanes/pair.h"

namespace tlr2 {
namespace {

LANE_FN Ints LaneColumns() { return {IntsPart{_mm_setr_epi32(0, 2, 0, 2)}, IntsPart{_mm_setr_epi32(4, 6, 4, 6)}}; }
LANE_FN Ints LaneRows() { return IntsPart{_mm_setr_epi32(0, 2, 2, 0)}; }
/// Pixels of two rows that lie two apart, eight wide, dealt to the even and the odd plane of the lanes.
LANE_FN void DealRows(const void* upper, const void* lower, Ints& even, Ints& odd) {
  const float* u = static_cast<const float*>(upper);
  const float* l = static_cast<const float*>(lower);
  const __m128 u0 = _mm_loadu_ps(u), u1 = _mm_loadu_ps(u + 4), l0 = _mm_loadu_ps(l), l1 = _mm_loadu_ps(l + 4);
  const __m128 p0 = _mm_blend_ps(u0, l0, 12), q0 = _mm_blend_ps(l0, u0, 12);
  const __m128 p1 = _mm_blend_ps(u1, l1, 12), q1 = _mm_blend_ps(l1, u1, 12);
  even = {IntsPart{_mm_castps_si128(_mm_shuffle_ps(p0, q0, 0x88))},
          IntsPart{_mm_castps_si128(_mm_shuffle_ps(p1, q1, 0x88))}};
  odd = {IntsPart{_mm_castps_si128(_mm_shuffle_ps(p0, q0, 0xDD))},
         IntsPart{_mm_castps_si128(_mm_shuffle_ps(p1, q1, 0xDD))}};
}
LANE_FN void JoinRows(void* upper, void* lower, Ints even, Ints odd) {
  float* u = static_cast<float*>(upper);
  float* l = static_cast<float*>(lower);
  const __m128 p0 = _mm_castsi128_ps(_mm_unpacklo_epi32(even.part[0].v, odd.part[0].v));
  const __m128 q0 = _mm_castsi128_ps(_mm_unpackhi_epi32(even.part[0].v, odd.part[0].v));
  const __m128 p1 = _mm_castsi128_ps(_mm_unpacklo_epi32(even.part[1].v, odd.part[1].v));
  const __m128 q1 = _mm_castsi128_ps(_mm_unpackhi_epi32(even.part[1].v, odd.part[1].v));
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

/// Wider targets leave their registers here.
LANE_FN void EndLanes() {}

}  // namespace
}  // namespace tlr2
