// Lanes of the avx target: sixteen, in two 256-bit registers, whose integers are worked on in halves. Products are
// rounded before they are added.
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

// A part's integers: as wide as its floats, which is how they are stored and chosen; arithmetic is on the halves.
struct IntsPart {
  __m256i v;
};

LANE_FN __m128i Low(IntsPart x) { return _mm256_castsi256_si128(x.v); }
LANE_FN __m128i High(IntsPart x) { return _mm256_extractf128_si256(x.v, 1); }
LANE_FN IntsPart Join(__m128i low, __m128i high) {
  return {_mm256_insertf128_si256(_mm256_castsi128_si256(low), high, 1)};
}

// Values.
LANE_FN IntsPart Splat(std::int32_t v) { return {_mm256_set1_epi32(v)}; }

// Float arithmetic.
LANE_FN FloatsPart MulAdd(FloatsPart x, FloatsPart y, FloatsPart z) { return Add(Mul(x, y), z); }
LANE_FN FloatsPart MulSub(FloatsPart x, FloatsPart y, FloatsPart z) { return Sub(Mul(x, y), z); }
LANE_FN float MulSub(float x, float y, float z) { return x * y - z; }
LANE_FN IntsPart Bits(FloatsPart x) { return {_mm256_castps_si256(x.v)}; }
LANE_FN FloatsPart FromBits(IntsPart x) { return {_mm256_castsi256_ps(x.v)}; }
/// Toward zero; NaN and what does not fit give 0x80000000.
LANE_FN IntsPart Truncate(FloatsPart x) { return {_mm256_cvttps_epi32(x.v)}; }
LANE_FN FloatsPart ToFloats(IntsPart x) { return {_mm256_cvtepi32_ps(x.v)}; }

// Integer arithmetic, in 32 bits, wrapping.
#define TLR2_HALVES(name, intrinsic) \
  LANE_FN IntsPart name(IntsPart x, IntsPart y) { return Join(intrinsic(Low(x), Low(y)), intrinsic(High(x), High(y))); }
TLR2_HALVES(Add, _mm_add_epi32)
TLR2_HALVES(Sub, _mm_sub_epi32)
TLR2_HALVES(Mul, _mm_mullo_epi32)
TLR2_HALVES(Min, _mm_min_epi32)
TLR2_HALVES(Max, _mm_max_epi32)
#undef TLR2_HALVES
LANE_FN IntsPart And(IntsPart x, IntsPart y) {
  return {_mm256_castps_si256(_mm256_and_ps(_mm256_castsi256_ps(x.v), _mm256_castsi256_ps(y.v)))};
}
LANE_FN IntsPart Or(IntsPart x, IntsPart y) {
  return {_mm256_castps_si256(_mm256_or_ps(_mm256_castsi256_ps(x.v), _mm256_castsi256_ps(y.v)))};
}
template <int N>
LANE_FN IntsPart ShiftLeft(IntsPart x) {
  return Join(_mm_slli_epi32(Low(x), N), _mm_slli_epi32(High(x), N));
}
/// Of signed integers.
template <int N>
LANE_FN IntsPart ShiftRightSigned(IntsPart x) {
  return Join(_mm_srai_epi32(Low(x), N), _mm_srai_epi32(High(x), N));
}
template <int N>
LANE_FN IntsPart ShiftRight(IntsPart x) {
  return Join(_mm_srli_epi32(Low(x), N), _mm_srli_epi32(High(x), N));
}
LANE_FN MaskPart Less(IntsPart x, IntsPart y) {
  return {FromBits(Join(_mm_cmplt_epi32(Low(x), Low(y)), _mm_cmplt_epi32(High(x), High(y)))).v};
}
LANE_FN MaskPart Equal(IntsPart x, IntsPart y) {
  return {FromBits(Join(_mm_cmpeq_epi32(Low(x), Low(y)), _mm_cmpeq_epi32(High(x), High(y)))).v};
}

// Across floats and integers.
LANE_FN IntsPart Select(MaskPart m, IntsPart x, IntsPart y) { return Bits(Select(m, FromBits(x), FromBits(y))); }

/// A bit for each lane that is less than 0.
LANE_FN unsigned NegativeLanes(IntsPart x) {
  return static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(x.v)));
}
LANE_FN std::int32_t FirstLane(IntsPart x) { return _mm_cvtsi128_si32(Low(x)); }

// Colours.
/// Whether the highest byte of each word is 255.
LANE_FN bool HighestBytesFull(IntsPart words) {
  return _mm256_testc_si256(words.v, _mm256_set1_epi32(static_cast<std::int32_t>(0xFF000000))) != 0;
}
LANE_FN __m128i PackQuarter(__m128i blue, __m128i green, __m128i red, __m128i alpha) {
  // Saturating to 16 and then to 8 bits clamps as the 32-bit clamp would, 0x80000000 to 0 included.
  return _mm_shuffle_epi8(_mm_packus_epi16(_mm_packs_epi32(blue, green), _mm_packs_epi32(red, alpha)),
                          _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
}
/// Channels truncated, clamped to a byte and packed 0xAARRGGBB.
LANE_FN IntsPart PackBytes(FloatsPart red, FloatsPart green, FloatsPart blue, FloatsPart alpha) {
  const IntsPart r = Truncate(red), g = Truncate(green), b = Truncate(blue), a = Truncate(alpha);
  return Join(PackQuarter(Low(b), Low(g), Low(r), Low(a)), PackQuarter(High(b), High(g), High(r), High(a)));
}

// Memory.
LANE_FN std::int32_t WordAt(const void* base, std::ptrdiff_t byteOffset) {
  std::int32_t word;
  __builtin_memcpy(&word, static_cast<const char*>(base) + byteOffset, 4);
  return word;
}
/// Lanes where they lie in memory: an offset loaded from there costs less than one taken out of a register.
LANE_FN const std::int32_t* WordsOf(const IntsPart& x) { return reinterpret_cast<const std::int32_t*>(&x); }
LANE_FN void Spill(std::int32_t* to, IntsPart x) { _mm256_store_si256(reinterpret_cast<__m256i*>(to), x.v); }
/// Words at offsets in units of so many bytes.
template <int kScale>
LANE_FN __m128i GatherQuarter(const void* base, const std::int32_t* o) {
  const auto word = [base, o](int i)
                        __attribute__((always_inline)) { return WordAt(base, std::ptrdiff_t{o[i]} * kScale); };
  return _mm_setr_epi32(word(0), word(1), word(2), word(3));
}
template <int kScale>
LANE_FN IntsPart GatherByLoads(const void* base, const IntsPart& offsets) {
  const std::int32_t* o = WordsOf(offsets);
  return Join(GatherQuarter<kScale>(base, o), GatherQuarter<kScale>(base, o + 4));
}
/// Words at offsets in words, all lanes.
LANE_FN IntsPart Gather(const void* base, const IntsPart& offsets) { return GatherByLoads<4>(base, offsets); }
/// Words of the live lanes, 0 in the others, which are not read.
LANE_FN IntsPart GatherLive(const void* base, IntsPart byteOffsets, MaskPart live) {
  alignas(32) std::int32_t o[8], words[8] = {};
  Spill(o, byteOffsets);
  for (unsigned bits = LiveBits(live); bits != 0; bits &= bits - 1) {
    const int lane = __builtin_ctz(bits);
    words[lane] = WordAt(base, o[lane]);
  }
  return {_mm256_load_si256(reinterpret_cast<const __m256i*>(words))};
}
/// Writes the words of the live lanes.
LANE_FN void ScatterLive(void* base, IntsPart byteOffsets, IntsPart words, MaskPart live) {
  alignas(32) std::int32_t o[8], w[8];
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
#include "kernels/lanes/pairs8.h"

namespace tlr2 {
namespace {

LANE_FN Ints LaneColumns() { return IntsPart{_mm256_setr_epi32(0, 2, 0, 2, 4, 6, 4, 6)}; }
LANE_FN Ints LaneRows() {
  return {IntsPart{_mm256_setr_epi32(0, 2, 2, 0, 0, 2, 2, 0)}, IntsPart{_mm256_setr_epi32(4, 6, 6, 4, 4, 6, 6, 4)}};
}

}  // namespace
}  // namespace tlr2

#include "kernels/lanes/rows8.h"
