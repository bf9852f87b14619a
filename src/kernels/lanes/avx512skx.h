// Lanes of the avx512skx target: sixteen, in one 512-bit register, with fused products, hardware gathers and scatters.
#pragma once

#include <cstddef>
#include <cstdint>

#ifndef TLR2_EMULATED_AVX512  // a test supplies the intrinsics on machines without them
#include <immintrin.h>
#endif

#include "kernels/lanes/inline.h"

#define TLR2_LANES_FUSE 1
#include "kernels/lanes/quad.h"

namespace tlr2 {
namespace {

constexpr int kLanes = 16;

struct Floats {
  __m512 v;
};
struct Ints {
  __m512i v;
};
struct Mask {
  __mmask16 m;
};

// One register holds the step, so it has one part.
constexpr int kParts = 1;
constexpr bool kPartsShareColumns = true;
using FloatsPart = Floats;
using IntsPart = Ints;
using MaskPart = Mask;
template <typename Lanes>
LANE_FN Lanes PartOf(const Lanes& x, int /*part*/) {
  return x;
}
template <typename Lanes>
LANE_FN void SetPart(Lanes& x, int /*part*/, Lanes value) {
  x = value;
}

// Values.
LANE_FN Floats Splat(float v) { return {_mm512_set1_ps(v)}; }
LANE_FN Ints Splat(std::int32_t v) { return {_mm512_set1_epi32(v)}; }
LANE_FN Mask NoLane() { return {0}; }
LANE_FN Ints LaneColumns() { return {_mm512_setr_epi32(0, 2, 0, 2, 4, 6, 4, 6, 0, 2, 0, 2, 4, 6, 4, 6)}; }
LANE_FN Ints LaneRows() { return {_mm512_setr_epi32(0, 2, 2, 0, 0, 2, 2, 0, 4, 6, 6, 4, 4, 6, 6, 4)}; }

// Float arithmetic.
LANE_FN Floats Add(Floats x, Floats y) { return {_mm512_add_ps(x.v, y.v)}; }
LANE_FN Floats Sub(Floats x, Floats y) { return {_mm512_sub_ps(x.v, y.v)}; }
LANE_FN Floats Mul(Floats x, Floats y) { return {_mm512_mul_ps(x.v, y.v)}; }
LANE_FN Floats Div(Floats x, Floats y) { return {_mm512_div_ps(x.v, y.v)}; }
LANE_FN Floats MulAdd(Floats x, Floats y, Floats z) { return {_mm512_fmadd_ps(x.v, y.v, z.v)}; }
LANE_FN Floats MulSub(Floats x, Floats y, Floats z) { return {_mm512_fmsub_ps(x.v, y.v, z.v)}; }
LANE_FN float MulSub(float x, float y, float z) {
  return _mm_cvtss_f32(_mm_fmsub_ss(_mm_set_ss(x), _mm_set_ss(y), _mm_set_ss(z)));
}
/// x > y ? x : y, so the second operand where either is NaN.
LANE_FN Floats Max(Floats x, Floats y) { return {_mm512_max_ps(x.v, y.v)}; }
LANE_FN Floats Abs(Floats x) {
  return {_mm512_castsi512_ps(_mm512_and_si512(_mm512_castps_si512(x.v), _mm512_set1_epi32(0x7FFFFFFF)))};
}
LANE_FN Floats Xor(Floats x, Floats y) {
  return {_mm512_castsi512_ps(_mm512_xor_si512(_mm512_castps_si512(x.v), _mm512_castps_si512(y.v)))};
}
LANE_FN Floats Floor(Floats x) { return {_mm512_floor_ps(x.v)}; }
/// Toward zero; NaN and what does not fit give 0x80000000.
LANE_FN Ints Truncate(Floats x) { return {_mm512_cvttps_epi32(x.v)}; }
LANE_FN Floats ToFloats(Ints x) { return {_mm512_cvtepi32_ps(x.v)}; }
LANE_FN Ints Bits(Floats x) { return {_mm512_castps_si512(x.v)}; }
LANE_FN Floats FromBits(Ints x) { return {_mm512_castsi512_ps(x.v)}; }

// Float comparisons: ordered but for NotEqual.
LANE_FN Mask Less(Floats x, Floats y) { return {_mm512_cmp_ps_mask(x.v, y.v, _CMP_LT_OQ)}; }
LANE_FN Mask LessEqual(Floats x, Floats y) { return {_mm512_cmp_ps_mask(x.v, y.v, _CMP_LE_OQ)}; }
LANE_FN Mask Equal(Floats x, Floats y) { return {_mm512_cmp_ps_mask(x.v, y.v, _CMP_EQ_OQ)}; }
LANE_FN Mask NotEqual(Floats x, Floats y) { return {_mm512_cmp_ps_mask(x.v, y.v, _CMP_NEQ_UQ)}; }

// Integer arithmetic, in 32 bits, wrapping.
LANE_FN Ints Add(Ints x, Ints y) { return {_mm512_add_epi32(x.v, y.v)}; }
LANE_FN Ints Sub(Ints x, Ints y) { return {_mm512_sub_epi32(x.v, y.v)}; }
LANE_FN Ints Mul(Ints x, Ints y) { return {_mm512_mullo_epi32(x.v, y.v)}; }
LANE_FN Ints And(Ints x, Ints y) { return {_mm512_and_si512(x.v, y.v)}; }
LANE_FN Ints Or(Ints x, Ints y) { return {_mm512_or_si512(x.v, y.v)}; }
LANE_FN Ints Min(Ints x, Ints y) { return {_mm512_min_epi32(x.v, y.v)}; }
LANE_FN Ints Max(Ints x, Ints y) { return {_mm512_max_epi32(x.v, y.v)}; }
template <int N>
LANE_FN Ints ShiftLeft(Ints x) {
  return {_mm512_slli_epi32(x.v, N)};
}
/// Of signed integers.
template <int N>
LANE_FN Ints ShiftRightSigned(Ints x) {
  return {_mm512_srai_epi32(x.v, N)};
}
template <int N>
LANE_FN Ints ShiftRight(Ints x) {
  return {_mm512_srli_epi32(x.v, N)};
}
LANE_FN Mask Less(Ints x, Ints y) { return {_mm512_cmpgt_epi32_mask(y.v, x.v)}; }
LANE_FN Mask Equal(Ints x, Ints y) { return {_mm512_cmpeq_epi32_mask(x.v, y.v)}; }

// Masks.
LANE_FN Mask And(Mask x, Mask y) { return {static_cast<__mmask16>(x.m & y.m)}; }
LANE_FN Mask Or(Mask x, Mask y) { return {static_cast<__mmask16>(x.m | y.m)}; }
LANE_FN unsigned LiveBits(Mask m) { return m.m; }
LANE_FN bool Any(Mask m) { return m.m != 0; }
LANE_FN bool All(Mask m) { return m.m == 0xFFFF; }
LANE_FN Floats Select(Mask m, Floats x, Floats y) { return {_mm512_mask_blend_ps(m.m, y.v, x.v)}; }
LANE_FN Ints Select(Mask m, Ints x, Ints y) { return {_mm512_mask_blend_epi32(m.m, y.v, x.v)}; }

// Across lanes.
LANE_FN __m256 LowHalf(Floats x) { return _mm512_castps512_ps256(x.v); }
LANE_FN __m256 HighHalf(Floats x) { return _mm256_castpd_ps(_mm512_extractf64x4_pd(_mm512_castps_pd(x.v), 1)); }
/// Pairwise tree over adjacent lanes.
LANE_FN float Sum(Floats x) {
  const __m256 pairs = _mm256_hadd_ps(LowHalf(x), HighHalf(x));
  const __m256 fours = _mm256_hadd_ps(pairs, pairs);
  const __m128 eights = _mm_add_ps(_mm256_castps256_ps128(fours), _mm256_extractf128_ps(fours, 1));
  return _mm_cvtss_f32(_mm_add_ss(eights, _mm_shuffle_ps(eights, eights, 0x55)));
}
LANE_FN float Greatest(Floats x) {
  const __m256 eights = _mm256_max_ps(LowHalf(x), HighHalf(x));
  __m128 m = _mm_max_ps(_mm256_castps256_ps128(eights), _mm256_extractf128_ps(eights, 1));
  m = _mm_max_ps(m, _mm_movehl_ps(m, m));
  return _mm_cvtss_f32(_mm_max_ss(m, _mm_shuffle_ps(m, m, 0x55)));
}
/// Over all lanes.
LANE_FN Extremes ExtremesOf(Floats x) {
  const __m256 high = _mm256_max_ps(LowHalf(x), HighHalf(x));
  const __m256 low = _mm256_xor_ps(_mm256_min_ps(LowHalf(x), HighHalf(x)), _mm256_set1_ps(-0.0f));
  __m256 m = _mm256_max_ps(_mm256_permute2f128_ps(high, low, 0x20), _mm256_permute2f128_ps(high, low, 0x31));
  m = _mm256_max_ps(m, _mm256_permute_ps(m, 0x4E));
  m = _mm256_max_ps(m, _mm256_permute_ps(m, 0xB1));
  return {_mm_cvtss_f32(_mm256_castps256_ps128(m)), _mm_cvtss_f32(_mm256_extractf128_ps(m, 1))};
}
/// A bit for each lane that is less than 0.
LANE_FN unsigned NegativeLanes(Ints x) { return _mm512_movepi32_mask(x.v); }
LANE_FN std::int32_t FirstLane(Ints x) { return _mm_cvtsi128_si32(_mm512_castsi512_si128(x.v)); }
/// Lanes 3, 2, 1, 0 of each group of four.
LANE_FN Floats ReverseGroups(Floats x) { return {_mm512_shuffle_ps(x.v, x.v, _MM_SHUFFLE(0, 1, 2, 3))}; }
/// Lanes 2, 3, 0, 1 of each group of four.
LANE_FN Floats SwapGroupHalves(Floats x) { return {_mm512_shuffle_ps(x.v, x.v, _MM_SHUFFLE(1, 0, 3, 2))}; }

// Colours.
/// Whether the highest byte of each word is 255.
LANE_FN bool HighestBytesFull(Ints words) {
  return _mm512_cmpge_epu32_mask(words.v, _mm512_set1_epi32(static_cast<std::int32_t>(0xFF000000))) == 0xFFFF;
}
/// Byte `First` of each word, a bit a byte. Words of 32 bits would be put together in memory, where they are waited
/// for.
template <int First>
LANE_FN __mmask64 OneByteOfEach() {
#if defined(__x86_64__) || defined(TLR2_EMULATED_AVX512)
  return 0x1111111111111111 << First;
#else
  __mmask32 half = 0x11111111u << First;
  __asm__("" : "+k"(half));
  return _mm512_kunpackd(half, half);
#endif
}
/// Byte `Byte` of each word, from the lowest, times `scale`, rounded once; `scale` over 2^8 is still a normal number.
template <int Byte>
LANE_FN Floats ByteTimes(Ints words, float scale) {
  // A byte under the exponent of 2^23 is a float that is as much more than 2^23. Fused, the product less 2^23 times the
  // factor is exact until it is rounded. The upper bytes would reach the exponent where they stand.
  constexpr int place = Byte % 2 * 8;
  const __m512i low = Byte < 2 ? words.v : _mm512_rol_epi32(words.v, 16);
  const __m512i above = _mm512_mask_blend_epi8(OneByteOfEach<Byte % 2>(), _mm512_set1_epi32(0x4B000000), low);
  const float factor = scale / static_cast<float>(1 << place);
  return MulSub({_mm512_castsi512_ps(above)}, Splat(factor), Splat(factor * 0x1p23f));
}
/// The same of words whose highest byte is 255.
template <int Byte>
LANE_FN Floats OpaqueByteTimes(Ints words, float scale) {
  return ByteTimes<Byte>(words, scale);
}
/// Channels truncated, clamped to a byte and packed 0xAARRGGBB.
LANE_FN Ints PackBytes(Floats red, Floats green, Floats blue, Floats alpha) {
  // Saturating to 16 and then to 8 bits clamps as the 32-bit clamp would, 0x80000000 to 0 included.
  const __m512i bg = _mm512_packs_epi32(_mm512_cvttps_epi32(blue.v), _mm512_cvttps_epi32(green.v));
  const __m512i ra = _mm512_packs_epi32(_mm512_cvttps_epi32(red.v), _mm512_cvttps_epi32(alpha.v));
  const __m512i order = _mm512_set4_epi32(0x0F0B0703, 0x0E0A0602, 0x0D090501, 0x0C080400);
  return {_mm512_shuffle_epi8(_mm512_packus_epi16(bg, ra), order)};
}

// Four quads, one a corner of the tile: upper left, upper right, lower left, lower right.
struct Quads {
  __m512 v;
};
LANE_FN Quads Each(Quad x) { return {_mm512_broadcast_f32x4(x.v)}; }
LANE_FN Quads CornerColumns(Quad left, Quad right) {
  return {_mm512_mask_blend_ps(0xF0F0, _mm512_broadcast_f32x4(left.v), _mm512_broadcast_f32x4(right.v))};
}
LANE_FN Quads CornerRows(Quad top, Quad bottom) {
  return {_mm512_mask_blend_ps(0xFF00, _mm512_broadcast_f32x4(top.v), _mm512_broadcast_f32x4(bottom.v))};
}
LANE_FN Quads Add(Quads x, Quads y) { return {_mm512_add_ps(x.v, y.v)}; }
LANE_FN Quads Sub(Quads x, Quads y) { return {_mm512_sub_ps(x.v, y.v)}; }
LANE_FN Quads Mul(Quads x, Quads y) { return {_mm512_mul_ps(x.v, y.v)}; }
LANE_FN Quads Xor(Quads x, Quads y) { return {Xor(Floats{x.v}, Floats{y.v}).v}; }
LANE_FN Quads MulSub(Quads x, Quads y, Quads z) { return {_mm512_fmsub_ps(x.v, y.v, z.v)}; }
/// Whether one of the first three elements is less than 0 at all corners.
LANE_FN bool OneBelowAtAll(Quads x) {
  unsigned below = _mm512_cmp_ps_mask(x.v, _mm512_setzero_ps(), _CMP_LT_OQ);
  below &= below >> 8;
  return (below & below >> 4 & 7) != 0;
}
/// Whether the first three elements are 0 or more at all corners.
LANE_FN bool NotBelowAtAny(Quads x) {
  return (_mm512_cmp_ps_mask(_mm512_setzero_ps(), x.v, _CMP_LE_OQ) & 0x7777) == 0x7777;
}

// Groups of four lanes, each at its place in bytes behind `base`, aligned to 16.
constexpr int kGroupsOfPart = 4;
LANE_FN Floats LoadGroups(const void* base, const std::uint16_t* places) {
  const char* first = static_cast<const char*>(base);
  __m512 x = _mm512_castps128_ps512(_mm_load_ps(reinterpret_cast<const float*>(first + places[0])));
  x = _mm512_insertf32x4(x, _mm_load_ps(reinterpret_cast<const float*>(first + places[1])), 1);
  x = _mm512_insertf32x4(x, _mm_load_ps(reinterpret_cast<const float*>(first + places[2])), 2);
  return {_mm512_insertf32x4(x, _mm_load_ps(reinterpret_cast<const float*>(first + places[3])), 3)};
}
LANE_FN void StoreGroups(void* base, const std::uint16_t* places, Floats x) {
  char* first = static_cast<char*>(base);
  _mm_store_ps(reinterpret_cast<float*>(first + places[0]), _mm512_castps512_ps128(x.v));
  _mm_store_ps(reinterpret_cast<float*>(first + places[1]), _mm512_extractf32x4_ps(x.v, 1));
  _mm_store_ps(reinterpret_cast<float*>(first + places[2]), _mm512_extractf32x4_ps(x.v, 2));
  _mm_store_ps(reinterpret_cast<float*>(first + places[3]), _mm512_extractf32x4_ps(x.v, 3));
}

// Memory.
/// Words at offsets in words, all lanes.
LANE_FN Ints Gather(const void* base, Ints offsets) { return {_mm512_i32gather_epi32(offsets.v, base, 4)}; }
/// Lanes where they lie in memory: an offset loaded from there costs less than one taken out of a register.
LANE_FN const std::int32_t* WordsOf(const Ints& x) { return reinterpret_cast<const std::int32_t*>(&x); }
/// Four lanes' words.
template <int kScale>
LANE_FN __m128i FourWords(const char* base, const std::int32_t* o) {
  const auto word = [=](int lane) __attribute__((always_inline)) {
    return _mm_loadu_si32(base + std::ptrdiff_t{o[lane]} * kScale);
  };
  return _mm_unpacklo_epi64(_mm_unpacklo_epi32(word(0), word(1)), _mm_unpacklo_epi32(word(2), word(3)));
}
/// The same at offsets in units of so many bytes.
template <int kScale>
LANE_FN Ints GatherByLoads(const void* base, const Ints& offsets) {
  const char* bytes = static_cast<const char*>(base);
  const std::int32_t* o = WordsOf(offsets);
  const auto half = [=](int lane) __attribute__((always_inline)) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(FourWords<kScale>(bytes, o + lane)),
                                   FourWords<kScale>(bytes, o + lane + 4), 1);
  };
  return {_mm512_inserti64x4(_mm512_castsi256_si512(half(0)), half(8), 1)};
}
/// Two lanes' words and the words right behind them.
LANE_FN __m128 TwoPairs(const char* base, std::int32_t first, std::int32_t second) {
  return _mm_loadh_pi(
      _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(base + std::ptrdiff_t{first} * 4))),
      reinterpret_cast<const __m64*>(base + std::ptrdiff_t{second} * 4));
}
LANE_FN __m256 FourPairs(const char* base, const std::int32_t* o) {
  return _mm256_insertf128_ps(_mm256_castps128_ps256(TwoPairs(base, o[0], o[1])), TwoPairs(base, o[4], o[5]), 1);
}
/// Eight lanes' pairs, the first two of each group of four, so that a shuffle finds each lane's pair in its 128 bits.
LANE_FN __m512 JoinPairs(__m256 low, __m256 high) {
  return _mm512_castpd_ps(_mm512_insertf64x4(_mm512_castpd256_pd512(_mm256_castps_pd(low)), _mm256_castps_pd(high), 1));
}
LANE_FN void PartPairs(__m512 low, __m512 high, Ints& first, Ints& second) {
  first.v = _mm512_castps_si512(_mm512_shuffle_ps(low, high, 0x88));
  second.v = _mm512_castps_si512(_mm512_shuffle_ps(low, high, 0xDD));
}
/// The words at offsets in words and the words right behind them. A load a lane: the loads of one unit run beside the
/// arithmetic of the one before, which gathers, being microcode, hold up.
LANE_FN void GatherPairs(const void* base, const Ints& offsets, Ints& first, Ints& second) {
  const char* bytes = static_cast<const char*>(base);
  const std::int32_t* o = WordsOf(offsets);
  const __m512 low = JoinPairs(FourPairs(bytes, o), FourPairs(bytes, o + 8));
  PartPairs(low, JoinPairs(FourPairs(bytes, o + 2), FourPairs(bytes, o + 10)), first, second);
}
/// The same from two bases, lane by lane, so that no offset has to be kept.
LANE_FN void GatherSquares(const char* upper, const char* lower, const Ints& offsets, Ints& upperFirst,
                           Ints& upperSecond, Ints& lowerFirst, Ints& lowerSecond) {
  const std::int32_t* o = WordsOf(offsets);
  const __m256 u0 = FourPairs(upper, o), l0 = FourPairs(lower, o);
  const __m256 u2 = FourPairs(upper, o + 8), l2 = FourPairs(lower, o + 8);
  const __m256 u1 = FourPairs(upper, o + 2), l1 = FourPairs(lower, o + 2);
  const __m256 u3 = FourPairs(upper, o + 10), l3 = FourPairs(lower, o + 10);
  PartPairs(JoinPairs(u0, u2), JoinPairs(u1, u3), upperFirst, upperSecond);
  PartPairs(JoinPairs(l0, l2), JoinPairs(l1, l3), lowerFirst, lowerSecond);
}
/// Words of the live lanes, 0 in the others, which are not read.
LANE_FN Ints GatherLive(const void* base, Ints byteOffsets, Mask live) {
  return {_mm512_mask_i32gather_epi32(_mm512_setzero_si512(), live.m, byteOffsets.v, base, 1)};
}
/// Writes the words of the live lanes.
LANE_FN void ScatterLive(void* base, Ints byteOffsets, Ints words, Mask live) {
  _mm512_mask_i32scatter_epi32(base, live.m, byteOffsets.v, words.v, 1);
}
LANE_FN __m512i TwoRows(const char* upper, const char* lower) {
  return _mm512_inserti64x4(_mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(upper))),
                            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(lower)), 1);
}
LANE_FN void PutTwoRows(char* upper, char* lower, __m512i rows) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(upper), _mm512_castsi512_si256(rows));
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(lower), _mm512_extracti64x4_epi64(rows, 1));
}
/// The tile's rows of one plane row, its first row first: even columns to `even`, odd ones to `odd`.
LANE_FN void LoadPlaneRows(const void* rows, std::ptrdiff_t strideBytes, Ints& even, Ints& odd) {
  const char* r = static_cast<const char*>(rows);
  const __m512i u = TwoRows(r, r + 4 * strideBytes), l = TwoRows(r + 2 * strideBytes, r + 6 * strideBytes);
  const __m512 p = _mm512_castsi512_ps(_mm512_mask_blend_epi32(0xCCCC, u, l));
  const __m512 q = _mm512_castsi512_ps(_mm512_mask_blend_epi32(0xCCCC, l, u));
  even.v = _mm512_castps_si512(_mm512_shuffle_ps(p, q, 0x88));
  odd.v = _mm512_castps_si512(_mm512_shuffle_ps(p, q, 0xDD));
}
LANE_FN void StorePlaneRows(void* rows, std::ptrdiff_t strideBytes, Ints even, Ints odd) {
  char* r = static_cast<char*>(rows);
  const __m512i p = _mm512_unpacklo_epi32(even.v, odd.v), q = _mm512_unpackhi_epi32(even.v, odd.v);
  PutTwoRows(r, r + 4 * strideBytes, _mm512_mask_blend_epi32(0xCCCC, p, q));
  PutTwoRows(r + 2 * strideBytes, r + 6 * strideBytes, _mm512_mask_blend_epi32(0xCCCC, q, p));
}

/// Leaves the processor as the callers' code expects it, which knows of no wide registers. Once a tile: the targets'
/// objects are built without it between their own functions.
LANE_FN void EndLanes() { _mm256_zeroupper(); }

}  // namespace
}  // namespace tlr2
