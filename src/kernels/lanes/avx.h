// Lanes of the avx target: sixteen; floats in two 256-bit registers, integers in four of 128 bits. Products are rounded
// before they are added.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "kernels/lanes/inline.h"

#define TLR2_LANES_FUSE 0
#include "kernels/lanes/quad.h"

namespace tlr2 {
namespace {

constexpr int kLanes = 16;

// A part: the lanes of one float register.
struct FloatsPart {
  __m256 v;
};
struct IntsPart {
  __m128i a, b;
};
struct MaskPart {
  __m256 v;  // all bits of a lane, or none
};

LANE_FN __m256 Join(__m128i low, __m128i high) {
  return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_castsi128_ps(low)), _mm_castsi128_ps(high), 1);
}
LANE_FN __m128i Low(__m256 x) { return _mm_castps_si128(_mm256_castps256_ps128(x)); }
LANE_FN __m128i High(__m256 x) { return _mm_castps_si128(_mm256_extractf128_ps(x, 1)); }

// Values.
LANE_FN FloatsPart Splat(float v) { return {_mm256_set1_ps(v)}; }
LANE_FN IntsPart Splat(std::int32_t v) {
  const __m128i r = _mm_set1_epi32(v);
  return {r, r};
}
LANE_FN MaskPart NoLane() { return {_mm256_setzero_ps()}; }

// Float arithmetic.
LANE_FN FloatsPart Add(FloatsPart x, FloatsPart y) { return {_mm256_add_ps(x.v, y.v)}; }
LANE_FN FloatsPart Sub(FloatsPart x, FloatsPart y) { return {_mm256_sub_ps(x.v, y.v)}; }
LANE_FN FloatsPart Mul(FloatsPart x, FloatsPart y) { return {_mm256_mul_ps(x.v, y.v)}; }
LANE_FN FloatsPart Div(FloatsPart x, FloatsPart y) { return {_mm256_div_ps(x.v, y.v)}; }
LANE_FN FloatsPart MulAdd(FloatsPart x, FloatsPart y, FloatsPart z) { return Add(Mul(x, y), z); }
LANE_FN FloatsPart MulSub(FloatsPart x, FloatsPart y, FloatsPart z) { return Sub(Mul(x, y), z); }
LANE_FN float MulSub(float x, float y, float z) { return x * y - z; }
/// x > y ? x : y, so the second operand where either is NaN.
LANE_FN FloatsPart Max(FloatsPart x, FloatsPart y) { return {_mm256_max_ps(x.v, y.v)}; }
LANE_FN FloatsPart Abs(FloatsPart x) {
  const __m256 m = _mm256_castsi256_ps(_mm256_set1_epi32(0x7FFFFFFF));
  return {_mm256_and_ps(x.v, m)};
}
LANE_FN FloatsPart Xor(FloatsPart x, FloatsPart y) { return {_mm256_xor_ps(x.v, y.v)}; }
LANE_FN FloatsPart Floor(FloatsPart x) { return {_mm256_floor_ps(x.v)}; }
LANE_FN IntsPart Bits(FloatsPart x) { return {Low(x.v), High(x.v)}; }
LANE_FN FloatsPart FromBits(IntsPart x) { return {Join(x.a, x.b)}; }
/// Toward zero; NaN and what does not fit give 0x80000000.
LANE_FN IntsPart Truncate(FloatsPart x) {
  const FloatsPart bits = {_mm256_castsi256_ps(_mm256_cvttps_epi32(x.v))};
  return Bits(bits);
}
LANE_FN FloatsPart ToFloats(IntsPart x) {
  const FloatsPart bits = FromBits(x);
  return {_mm256_cvtepi32_ps(_mm256_castps_si256(bits.v))};
}

// Float comparisons: ordered but for NotEqual.
LANE_FN MaskPart Less(FloatsPart x, FloatsPart y) { return {_mm256_cmp_ps(x.v, y.v, _CMP_LT_OQ)}; }
LANE_FN MaskPart LessEqual(FloatsPart x, FloatsPart y) { return {_mm256_cmp_ps(x.v, y.v, _CMP_LE_OQ)}; }
LANE_FN MaskPart Equal(FloatsPart x, FloatsPart y) { return {_mm256_cmp_ps(x.v, y.v, _CMP_EQ_OQ)}; }
LANE_FN MaskPart NotEqual(FloatsPart x, FloatsPart y) { return {_mm256_cmp_ps(x.v, y.v, _CMP_NEQ_UQ)}; }

// Integer arithmetic, in 32 bits, wrapping.
LANE_FN IntsPart Add(IntsPart x, IntsPart y) { return {_mm_add_epi32(x.a, y.a), _mm_add_epi32(x.b, y.b)}; }
LANE_FN IntsPart Sub(IntsPart x, IntsPart y) { return {_mm_sub_epi32(x.a, y.a), _mm_sub_epi32(x.b, y.b)}; }
LANE_FN IntsPart Mul(IntsPart x, IntsPart y) { return {_mm_mullo_epi32(x.a, y.a), _mm_mullo_epi32(x.b, y.b)}; }
LANE_FN IntsPart And(IntsPart x, IntsPart y) { return {_mm_and_si128(x.a, y.a), _mm_and_si128(x.b, y.b)}; }
LANE_FN IntsPart Min(IntsPart x, IntsPart y) { return {_mm_min_epi32(x.a, y.a), _mm_min_epi32(x.b, y.b)}; }
LANE_FN IntsPart Max(IntsPart x, IntsPart y) { return {_mm_max_epi32(x.a, y.a), _mm_max_epi32(x.b, y.b)}; }
template <int N>
LANE_FN IntsPart ShiftLeft(IntsPart x) {
  return {_mm_slli_epi32(x.a, N), _mm_slli_epi32(x.b, N)};
}
template <int N>
LANE_FN IntsPart ShiftRight(IntsPart x) {
  return {_mm_srli_epi32(x.a, N), _mm_srli_epi32(x.b, N)};
}
LANE_FN MaskPart Less(IntsPart x, IntsPart y) { return {Join(_mm_cmplt_epi32(x.a, y.a), _mm_cmplt_epi32(x.b, y.b))}; }
LANE_FN MaskPart Equal(IntsPart x, IntsPart y) { return {Join(_mm_cmpeq_epi32(x.a, y.a), _mm_cmpeq_epi32(x.b, y.b))}; }

// Masks.
LANE_FN MaskPart And(MaskPart x, MaskPart y) { return {_mm256_and_ps(x.v, y.v)}; }
LANE_FN MaskPart Or(MaskPart x, MaskPart y) { return {_mm256_or_ps(x.v, y.v)}; }
LANE_FN unsigned LiveBits(MaskPart m) { return static_cast<unsigned>(_mm256_movemask_ps(m.v)); }
LANE_FN bool Any(MaskPart m) { return _mm256_movemask_ps(m.v) != 0; }
LANE_FN bool All(MaskPart m) { return _mm256_movemask_ps(m.v) == 255; }
LANE_FN FloatsPart Select(MaskPart m, FloatsPart x, FloatsPart y) { return {_mm256_blendv_ps(y.v, x.v, m.v)}; }
LANE_FN IntsPart Select(MaskPart m, IntsPart x, IntsPart y) { return Bits(Select(m, FromBits(x), FromBits(y))); }

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
LANE_FN std::int32_t FirstLane(IntsPart x) { return _mm_cvtsi128_si32(x.a); }
/// Lanes 3, 2, 1, 0 of each group of four.
LANE_FN FloatsPart ReverseGroups(FloatsPart x) { return {_mm256_permute_ps(x.v, _MM_SHUFFLE(0, 1, 2, 3))}; }
/// Lanes 2, 3, 0, 1 of each group of four.
LANE_FN FloatsPart SwapGroupHalves(FloatsPart x) { return {_mm256_permute_ps(x.v, _MM_SHUFFLE(1, 0, 3, 2))}; }

// Colours.
LANE_FN __m128i PackQuarter(__m128i blue, __m128i green, __m128i red, __m128i alpha) {
  // Saturating to 16 and then to 8 bits clamps as the 32-bit clamp would, 0x80000000 to 0 included.
  return _mm_shuffle_epi8(_mm_packus_epi16(_mm_packs_epi32(blue, green), _mm_packs_epi32(red, alpha)),
                          _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
}
/// Channels truncated, clamped to a byte and packed 0xAARRGGBB.
LANE_FN IntsPart PackBytes(FloatsPart red, FloatsPart green, FloatsPart blue, FloatsPart alpha) {
  const IntsPart r = Truncate(red), g = Truncate(green), b = Truncate(blue), a = Truncate(alpha);
  return {PackQuarter(b.a, g.a, r.a, a.a), PackQuarter(b.b, g.b, r.b, a.b)};
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

// Memory.
LANE_FN std::int32_t WordAt(const void* base, std::int32_t byteOffset) {
  std::int32_t word;
  __builtin_memcpy(&word, static_cast<const char*>(base) + byteOffset, 4);
  return word;
}
/// Lanes where they lie in memory: an offset loaded from there costs less than one taken out of a register.
LANE_FN const std::int32_t* WordsOf(const IntsPart& x) { return reinterpret_cast<const std::int32_t*>(&x); }
LANE_FN void Spill(std::int32_t* to, IntsPart x) {
  _mm_store_si128(reinterpret_cast<__m128i*>(to), x.a);
  _mm_store_si128(reinterpret_cast<__m128i*>(to + 4), x.b);
}
LANE_FN __m128i GatherQuarter(const void* base, const std::int32_t* o) {
  return _mm_setr_epi32(WordAt(base, o[0]), WordAt(base, o[1]), WordAt(base, o[2]), WordAt(base, o[3]));
}
/// Words at byte offsets, all lanes.
LANE_FN IntsPart Gather(const void* base, IntsPart byteOffsets) {
  alignas(16) std::int32_t o[8];
  Spill(o, byteOffsets);
  return {GatherQuarter(base, o), GatherQuarter(base, o + 4)};
}
LANE_FN void GatherPairsQuarter(const void* base, const std::int32_t* o, __m128i& first, __m128i& second) {
  const char* bytes = static_cast<const char*>(base);
  const __m128 p = _mm_loadh_pi(_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(bytes + o[0]))),
                                reinterpret_cast<const __m64*>(bytes + o[1]));
  const __m128 q = _mm_loadh_pi(_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(bytes + o[2]))),
                                reinterpret_cast<const __m64*>(bytes + o[3]));
  first = _mm_castps_si128(_mm_shuffle_ps(p, q, 0x88));
  second = _mm_castps_si128(_mm_shuffle_ps(p, q, 0xDD));
}
LANE_FN IntsPart GatherByLoads(const void* base, const IntsPart& byteOffsets) {
  const std::int32_t* o = WordsOf(byteOffsets);
  return {GatherQuarter(base, o), GatherQuarter(base, o + 4)};
}
/// The words at byte offsets and the words right behind them.
LANE_FN void GatherPairs(const void* base, const IntsPart& byteOffsets, IntsPart& first, IntsPart& second) {
  const std::int32_t* o = WordsOf(byteOffsets);
  GatherPairsQuarter(base, o, first.a, second.a);
  GatherPairsQuarter(base, o + 4, first.b, second.b);
}
/// Words of the live lanes, 0 in the others, which are not read.
LANE_FN IntsPart GatherLive(const void* base, IntsPart byteOffsets, MaskPart live) {
  alignas(16) std::int32_t o[8], words[8] = {};
  Spill(o, byteOffsets);
  for (unsigned bits = LiveBits(live); bits != 0; bits &= bits - 1) {
    const int lane = __builtin_ctz(bits);
    words[lane] = WordAt(base, o[lane]);
  }
  const __m128i* w = reinterpret_cast<const __m128i*>(words);
  return {_mm_load_si128(w), _mm_load_si128(w + 1)};
}
/// Writes the words of the live lanes.
LANE_FN void ScatterLive(void* base, IntsPart byteOffsets, IntsPart words, MaskPart live) {
  alignas(16) std::int32_t o[8], w[8];
  Spill(o, byteOffsets);
  Spill(w, words);
  for (unsigned bits = LiveBits(live); bits != 0; bits &= bits - 1) {
    const int lane = __builtin_ctz(bits);
    __builtin_memcpy(static_cast<char*>(base) + o[lane], &w[lane], 4);
  }
}
}  // namespace
}  // namespace tlr2

#include "kernels/lanes/pair.h"

namespace tlr2 {
namespace {

LANE_FN Ints LaneColumns() { return IntsPart{_mm_setr_epi32(0, 2, 0, 2), _mm_setr_epi32(4, 6, 4, 6)}; }
LANE_FN Ints LaneRows() {
  const __m128i upper = _mm_setr_epi32(0, 2, 2, 0), lower = _mm_setr_epi32(4, 6, 6, 4);
  return {IntsPart{upper, upper}, IntsPart{lower, lower}};
}
/// Pixels of two rows that lie two apart, eight wide, dealt to the even and the odd plane of eight lanes.
LANE_FN void DealRows(const char* upper, const char* lower, __m256& even, __m256& odd) {
  const __m256 u = _mm256_loadu_ps(reinterpret_cast<const float*>(upper));
  const __m256 l = _mm256_loadu_ps(reinterpret_cast<const float*>(lower));
  const __m256 p = _mm256_blend_ps(u, l, 0xCC), q = _mm256_blend_ps(l, u, 0xCC);
  even = _mm256_shuffle_ps(p, q, 0x88);
  odd = _mm256_shuffle_ps(p, q, 0xDD);
}
LANE_FN void JoinRows(char* upper, char* lower, __m256 even, __m256 odd) {
  const __m256 p = _mm256_unpacklo_ps(even, odd), q = _mm256_unpackhi_ps(even, odd);
  _mm256_storeu_ps(reinterpret_cast<float*>(upper), _mm256_blend_ps(p, q, 0xCC));
  _mm256_storeu_ps(reinterpret_cast<float*>(lower), _mm256_blend_ps(q, p, 0xCC));
}
/// The tile's rows of one plane row, its first row first: even columns to `even`, odd ones to `odd`.
LANE_FN void LoadPlaneRows(const void* rows, std::ptrdiff_t strideBytes, Ints& even, Ints& odd) {
  const char* r = static_cast<const char*>(rows);
  Floats e, o;
  DealRows(r, r + 2 * strideBytes, e.part[0].v, o.part[0].v);
  DealRows(r + 4 * strideBytes, r + 6 * strideBytes, e.part[1].v, o.part[1].v);
  even = Bits(e);
  odd = Bits(o);
}
LANE_FN void StorePlaneRows(void* rows, std::ptrdiff_t strideBytes, Ints even, Ints odd) {
  char* r = static_cast<char*>(rows);
  const Floats e = FromBits(even), o = FromBits(odd);
  JoinRows(r, r + 2 * strideBytes, e.part[0].v, o.part[0].v);
  JoinRows(r + 4 * strideBytes, r + 6 * strideBytes, e.part[1].v, o.part[1].v);
}

}  // namespace
}  // namespace tlr2
