// Lanes of the avx target: sixteen; floats in two 256-bit registers, integers in four of 128 bits. Products are rounded
// before they are added.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "kernels/lanes/inline.h"

#define TLR2_LANES_FUSE 0
#include "kernels/lanes/float8.h"
#include "kernels/lanes/quad.h"

namespace tlr2 {
namespace {

constexpr int kLanes = 16;
constexpr bool kPartsShareColumns = true;  // the second part lies four rows below the first

// A part's integers: the lanes of one float register.
struct IntsPart {
  __m128i a, b;
};

LANE_FN __m256 Join(__m128i low, __m128i high) {
  return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_castsi128_ps(low)), _mm_castsi128_ps(high), 1);
}
LANE_FN __m128i Low(__m256 x) { return _mm_castps_si128(_mm256_castps256_ps128(x)); }
LANE_FN __m128i High(__m256 x) { return _mm_castps_si128(_mm256_extractf128_ps(x, 1)); }

// Values.
LANE_FN IntsPart Splat(std::int32_t v) {
  const __m128i r = _mm_set1_epi32(v);
  return {r, r};
}

// Float arithmetic.
LANE_FN FloatsPart MulAdd(FloatsPart x, FloatsPart y, FloatsPart z) { return Add(Mul(x, y), z); }
LANE_FN FloatsPart MulSub(FloatsPart x, FloatsPart y, FloatsPart z) { return Sub(Mul(x, y), z); }
LANE_FN float MulSub(float x, float y, float z) { return x * y - z; }
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

// Across floats and integers.
LANE_FN IntsPart Select(MaskPart m, IntsPart x, IntsPart y) { return Bits(Select(m, FromBits(x), FromBits(y))); }

LANE_FN std::int32_t FirstLane(IntsPart x) { return _mm_cvtsi128_si32(x.a); }

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

#include "kernels/lanes/bytes.h"
#include "kernels/lanes/pair.h"

namespace tlr2 {
namespace {

LANE_FN Ints LaneColumns() { return IntsPart{_mm_setr_epi32(0, 2, 0, 2), _mm_setr_epi32(4, 6, 4, 6)}; }
LANE_FN Ints LaneRows() {
  const __m128i upper = _mm_setr_epi32(0, 2, 2, 0), lower = _mm_setr_epi32(4, 6, 6, 4);
  return {IntsPart{upper, upper}, IntsPart{lower, lower}};
}

}  // namespace
}  // namespace tlr2

#include "kernels/lanes/rows8.h"
