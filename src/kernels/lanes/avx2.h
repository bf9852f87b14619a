// Lanes of the avx2 target: sixteen, in two 256-bit registers, with fused products and hardware gathers.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "kernels/lanes/inline.h"

#define TLR2_LANES_FUSE 1
#include "kernels/lanes/float8.h"
#include "kernels/lanes/quad.h"

namespace tlr2 {
namespace {

constexpr int kLanes = 16;
constexpr bool kPartsShareColumns = true;  // the second part lies four rows below the first

// A part's integers: one register.
struct IntsPart {
  __m256i v;
};

// Values.
LANE_FN IntsPart Splat(std::int32_t v) { return {_mm256_set1_epi32(v)}; }

// Float arithmetic.
LANE_FN FloatsPart MulAdd(FloatsPart x, FloatsPart y, FloatsPart z) { return {_mm256_fmadd_ps(x.v, y.v, z.v)}; }
LANE_FN FloatsPart MulSub(FloatsPart x, FloatsPart y, FloatsPart z) { return {_mm256_fmsub_ps(x.v, y.v, z.v)}; }
LANE_FN float MulSub(float x, float y, float z) {
  return _mm_cvtss_f32(_mm_fmsub_ss(_mm_set_ss(x), _mm_set_ss(y), _mm_set_ss(z)));
}
/// Toward zero; NaN and what does not fit give 0x80000000.
LANE_FN IntsPart Truncate(FloatsPart x) { return {_mm256_cvttps_epi32(x.v)}; }
LANE_FN FloatsPart ToFloats(IntsPart x) { return {_mm256_cvtepi32_ps(x.v)}; }
LANE_FN IntsPart Bits(FloatsPart x) { return {_mm256_castps_si256(x.v)}; }
LANE_FN FloatsPart FromBits(IntsPart x) { return {_mm256_castsi256_ps(x.v)}; }

// Integer arithmetic, in 32 bits, wrapping.
LANE_FN IntsPart Add(IntsPart x, IntsPart y) { return {_mm256_add_epi32(x.v, y.v)}; }
LANE_FN IntsPart Sub(IntsPart x, IntsPart y) { return {_mm256_sub_epi32(x.v, y.v)}; }
LANE_FN IntsPart Mul(IntsPart x, IntsPart y) { return {_mm256_mullo_epi32(x.v, y.v)}; }
LANE_FN IntsPart And(IntsPart x, IntsPart y) { return {_mm256_and_si256(x.v, y.v)}; }
LANE_FN IntsPart Or(IntsPart x, IntsPart y) { return {_mm256_or_si256(x.v, y.v)}; }
LANE_FN IntsPart Min(IntsPart x, IntsPart y) { return {_mm256_min_epi32(x.v, y.v)}; }
LANE_FN IntsPart Max(IntsPart x, IntsPart y) { return {_mm256_max_epi32(x.v, y.v)}; }
template <int N>
LANE_FN IntsPart ShiftLeft(IntsPart x) {
  return {_mm256_slli_epi32(x.v, N)};
}
/// Of signed integers.
template <int N>
LANE_FN IntsPart ShiftRightSigned(IntsPart x) {
  return {_mm256_srai_epi32(x.v, N)};
}
template <int N>
LANE_FN IntsPart ShiftRight(IntsPart x) {
  return {_mm256_srli_epi32(x.v, N)};
}
LANE_FN MaskPart Less(IntsPart x, IntsPart y) { return {_mm256_castsi256_ps(_mm256_cmpgt_epi32(y.v, x.v))}; }
LANE_FN MaskPart Equal(IntsPart x, IntsPart y) { return {_mm256_castsi256_ps(_mm256_cmpeq_epi32(x.v, y.v))}; }

// Across floats and integers.
LANE_FN IntsPart Select(MaskPart m, IntsPart x, IntsPart y) { return Bits(Select(m, FromBits(x), FromBits(y))); }

/// A bit for each lane that is less than 0.
LANE_FN unsigned NegativeLanes(IntsPart x) {
  return static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(x.v)));
}
LANE_FN std::int32_t FirstLane(IntsPart x) { return _mm_cvtsi128_si32(_mm256_castsi256_si128(x.v)); }

// Colours.
/// Whether the highest byte of each word is 255.
LANE_FN bool HighestBytesFull(IntsPart words) {
  return _mm256_testc_si256(words.v, _mm256_set1_epi32(static_cast<std::int32_t>(0xFF000000))) != 0;
}
/// Byte `Byte` of each word, from the lowest, times `scale`, rounded once, of words whose highest byte is 255.
template <int Byte>
LANE_FN FloatsPart OpaqueByteTimes(IntsPart words, float scale) {
  static_assert(Byte < 3);
  // The byte b under the highest one, and nothing between, is the float -2^104 * (2^23 + b). Fused, the product less
  // 2^23 times the factor is exact until it is rounded.
  constexpr int lane = 0x03808000 | Byte, next = 0x04000004;
  const __m256i order = _mm256_setr_epi32(lane, lane + next, lane + 2 * next, lane + 3 * next, lane, lane + next,
                                          lane + 2 * next, lane + 3 * next);
  const FloatsPart value = {_mm256_castsi256_ps(_mm256_shuffle_epi8(words.v, order))};
  return MulSub(value, Splat(-0x1p-104f * scale), Splat(0x1p23f * scale));
}
/// Channels truncated, clamped to a byte and packed 0xAARRGGBB.
LANE_FN IntsPart PackBytes(FloatsPart red, FloatsPart green, FloatsPart blue, FloatsPart alpha) {
  // Saturating to 16 and then to 8 bits clamps as the 32-bit clamp would, 0x80000000 to 0 included.
  const __m256i bg = _mm256_packs_epi32(_mm256_cvttps_epi32(blue.v), _mm256_cvttps_epi32(green.v));
  const __m256i ra = _mm256_packs_epi32(_mm256_cvttps_epi32(red.v), _mm256_cvttps_epi32(alpha.v));
  const __m256i order = _mm256_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15, 0, 4, 8, 12, 1, 5, 9, 13,
                                         2, 6, 10, 14, 3, 7, 11, 15);
  return {_mm256_shuffle_epi8(_mm256_packus_epi16(bg, ra), order)};
}

// Memory.
/// Words at offsets in words, all lanes.
LANE_FN IntsPart Gather(const void* base, IntsPart offsets) {
  return {_mm256_i32gather_epi32(static_cast<const int*>(base), offsets.v, 4)};
}
/// Lanes where they lie in memory: an offset loaded from there costs less than one taken out of a register.
LANE_FN const std::int32_t* WordsOf(const IntsPart& x) { return reinterpret_cast<const std::int32_t*>(&x); }
/// Two lanes' words.
template <int kScale>
LANE_FN __m128i TwoWords(const char* base, const std::int32_t* o) {
  return _mm_unpacklo_epi32(_mm_loadu_si32(base + std::ptrdiff_t{o[0]} * kScale),
                            _mm_loadu_si32(base + std::ptrdiff_t{o[1]} * kScale));
}
/// Words at offsets in units of so many bytes, with a load a lane: where all lanes' offsets are at hand early, that is
/// faster than the gather, which runs out of microcode.
template <int kScale>
LANE_FN IntsPart GatherByLoads(const void* base, const IntsPart& offsets) {
  const char* bytes = static_cast<const char*>(base);
  const std::int32_t* o = WordsOf(offsets);
  const __m128i low = _mm_unpacklo_epi64(TwoWords<kScale>(bytes, o), TwoWords<kScale>(bytes, o + 2));
  const __m128i high = _mm_unpacklo_epi64(TwoWords<kScale>(bytes, o + 4), TwoWords<kScale>(bytes, o + 6));
  return {_mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1)};
}
/// Words of the live lanes, 0 in the others, which are not read.
LANE_FN IntsPart GatherLive(const void* base, IntsPart byteOffsets, MaskPart live) {
  return {_mm256_mask_i32gather_epi32(_mm256_setzero_si256(), static_cast<const int*>(base), byteOffsets.v,
                                      _mm256_castps_si256(live.v), 1)};
}
/// Writes the words of the live lanes.
LANE_FN void ScatterLive(void* base, IntsPart byteOffsets, IntsPart words, MaskPart live) {
  alignas(32) std::int32_t o[8], w[8];
  _mm256_store_si256(reinterpret_cast<__m256i*>(o), byteOffsets.v);
  _mm256_store_si256(reinterpret_cast<__m256i*>(w), words.v);
  for (unsigned bits = static_cast<unsigned>(_mm256_movemask_ps(live.v)); bits != 0; bits &= bits - 1) {
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
