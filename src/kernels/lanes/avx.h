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

struct Floats {
  __m256 a, b;
};
struct Ints {
  __m128i a, b, c, d;
};
struct Mask {
  __m256 a, b;  // all bits of a lane, or none
};

LANE_FN __m256 Join(__m128i low, __m128i high) {
  return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_castsi128_ps(low)), _mm_castsi128_ps(high), 1);
}
LANE_FN __m128i Low(__m256 x) { return _mm_castps_si128(_mm256_castps256_ps128(x)); }
LANE_FN __m128i High(__m256 x) { return _mm_castps_si128(_mm256_extractf128_ps(x, 1)); }

// Values.
LANE_FN Floats Splat(float v) {
  const __m256 r = _mm256_set1_ps(v);
  return {r, r};
}
LANE_FN Ints Splat(std::int32_t v) {
  const __m128i r = _mm_set1_epi32(v);
  return {r, r, r, r};
}
LANE_FN Mask NoLane() { return {_mm256_setzero_ps(), _mm256_setzero_ps()}; }
LANE_FN Ints LaneColumns() {
  const __m128i left = _mm_setr_epi32(0, 2, 0, 2), right = _mm_setr_epi32(4, 6, 4, 6);
  return {left, right, left, right};
}
LANE_FN Ints LaneRows() {
  const __m128i upper = _mm_setr_epi32(0, 2, 2, 0), lower = _mm_setr_epi32(4, 6, 6, 4);
  return {upper, upper, lower, lower};
}

// Float arithmetic.
LANE_FN Floats Add(Floats x, Floats y) { return {_mm256_add_ps(x.a, y.a), _mm256_add_ps(x.b, y.b)}; }
LANE_FN Floats Sub(Floats x, Floats y) { return {_mm256_sub_ps(x.a, y.a), _mm256_sub_ps(x.b, y.b)}; }
LANE_FN Floats Mul(Floats x, Floats y) { return {_mm256_mul_ps(x.a, y.a), _mm256_mul_ps(x.b, y.b)}; }
LANE_FN Floats Div(Floats x, Floats y) { return {_mm256_div_ps(x.a, y.a), _mm256_div_ps(x.b, y.b)}; }
LANE_FN Floats MulAdd(Floats x, Floats y, Floats z) { return Add(Mul(x, y), z); }
LANE_FN Floats MulSub(Floats x, Floats y, Floats z) { return Sub(Mul(x, y), z); }
LANE_FN float MulSub(float x, float y, float z) { return x * y - z; }
/// x > y ? x : y, so the second operand where either is NaN.
LANE_FN Floats Max(Floats x, Floats y) { return {_mm256_max_ps(x.a, y.a), _mm256_max_ps(x.b, y.b)}; }
LANE_FN Floats Abs(Floats x) {
  const __m256 m = _mm256_castsi256_ps(_mm256_set1_epi32(0x7FFFFFFF));
  return {_mm256_and_ps(x.a, m), _mm256_and_ps(x.b, m)};
}
LANE_FN Floats Xor(Floats x, Floats y) { return {_mm256_xor_ps(x.a, y.a), _mm256_xor_ps(x.b, y.b)}; }
LANE_FN Floats Floor(Floats x) { return {_mm256_floor_ps(x.a), _mm256_floor_ps(x.b)}; }
LANE_FN Ints Bits(Floats x) { return {Low(x.a), High(x.a), Low(x.b), High(x.b)}; }
LANE_FN Floats FromBits(Ints x) { return {Join(x.a, x.b), Join(x.c, x.d)}; }
/// Toward zero; NaN and what does not fit give 0x80000000.
LANE_FN Ints Truncate(Floats x) {
  return Bits({_mm256_castsi256_ps(_mm256_cvttps_epi32(x.a)), _mm256_castsi256_ps(_mm256_cvttps_epi32(x.b))});
}
LANE_FN Floats ToFloats(Ints x) {
  const Floats bits = FromBits(x);
  return {_mm256_cvtepi32_ps(_mm256_castps_si256(bits.a)), _mm256_cvtepi32_ps(_mm256_castps_si256(bits.b))};
}

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
LANE_FN Ints Add(Ints x, Ints y) {
  return {_mm_add_epi32(x.a, y.a), _mm_add_epi32(x.b, y.b), _mm_add_epi32(x.c, y.c), _mm_add_epi32(x.d, y.d)};
}
LANE_FN Ints Sub(Ints x, Ints y) {
  return {_mm_sub_epi32(x.a, y.a), _mm_sub_epi32(x.b, y.b), _mm_sub_epi32(x.c, y.c), _mm_sub_epi32(x.d, y.d)};
}
LANE_FN Ints Mul(Ints x, Ints y) {
  return {_mm_mullo_epi32(x.a, y.a), _mm_mullo_epi32(x.b, y.b), _mm_mullo_epi32(x.c, y.c), _mm_mullo_epi32(x.d, y.d)};
}
LANE_FN Ints And(Ints x, Ints y) {
  return {_mm_and_si128(x.a, y.a), _mm_and_si128(x.b, y.b), _mm_and_si128(x.c, y.c), _mm_and_si128(x.d, y.d)};
}
LANE_FN Ints Min(Ints x, Ints y) {
  return {_mm_min_epi32(x.a, y.a), _mm_min_epi32(x.b, y.b), _mm_min_epi32(x.c, y.c), _mm_min_epi32(x.d, y.d)};
}
LANE_FN Ints Max(Ints x, Ints y) {
  return {_mm_max_epi32(x.a, y.a), _mm_max_epi32(x.b, y.b), _mm_max_epi32(x.c, y.c), _mm_max_epi32(x.d, y.d)};
}
template <int N>
LANE_FN Ints ShiftLeft(Ints x) {
  return {_mm_slli_epi32(x.a, N), _mm_slli_epi32(x.b, N), _mm_slli_epi32(x.c, N), _mm_slli_epi32(x.d, N)};
}
template <int N>
LANE_FN Ints ShiftRight(Ints x) {
  return {_mm_srli_epi32(x.a, N), _mm_srli_epi32(x.b, N), _mm_srli_epi32(x.c, N), _mm_srli_epi32(x.d, N)};
}
LANE_FN Mask Less(Ints x, Ints y) {
  return {Join(_mm_cmplt_epi32(x.a, y.a), _mm_cmplt_epi32(x.b, y.b)),
          Join(_mm_cmplt_epi32(x.c, y.c), _mm_cmplt_epi32(x.d, y.d))};
}
LANE_FN Mask Equal(Ints x, Ints y) {
  return {Join(_mm_cmpeq_epi32(x.a, y.a), _mm_cmpeq_epi32(x.b, y.b)),
          Join(_mm_cmpeq_epi32(x.c, y.c), _mm_cmpeq_epi32(x.d, y.d))};
}

// Masks.
LANE_FN Mask And(Mask x, Mask y) { return {_mm256_and_ps(x.a, y.a), _mm256_and_ps(x.b, y.b)}; }
LANE_FN Mask Or(Mask x, Mask y) { return {_mm256_or_ps(x.a, y.a), _mm256_or_ps(x.b, y.b)}; }
LANE_FN unsigned LiveBits(Mask m) {
  return static_cast<unsigned>(_mm256_movemask_ps(m.a)) | static_cast<unsigned>(_mm256_movemask_ps(m.b)) << 8;
}
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
LANE_FN std::int32_t FirstLane(Ints x) { return _mm_cvtsi128_si32(x.a); }
/// Lanes 3, 2, 1, 0 of each group of four.
LANE_FN Floats ReverseGroups(Floats x) {
  return {_mm256_permute_ps(x.a, _MM_SHUFFLE(0, 1, 2, 3)), _mm256_permute_ps(x.b, _MM_SHUFFLE(0, 1, 2, 3))};
}
/// Lanes 2, 3, 0, 1 of each group of four.
LANE_FN Floats SwapGroupHalves(Floats x) {
  return {_mm256_permute_ps(x.a, _MM_SHUFFLE(1, 0, 3, 2)), _mm256_permute_ps(x.b, _MM_SHUFFLE(1, 0, 3, 2))};
}

// Colours.
LANE_FN __m128i PackQuarter(__m128i blue, __m128i green, __m128i red, __m128i alpha) {
  // Saturating to 16 and then to 8 bits clamps as the 32-bit clamp would, 0x80000000 to 0 included.
  return _mm_shuffle_epi8(_mm_packus_epi16(_mm_packs_epi32(blue, green), _mm_packs_epi32(red, alpha)),
                          _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
}
/// Channels truncated, clamped to a byte and packed 0xAARRGGBB.
LANE_FN Ints PackBytes(Floats red, Floats green, Floats blue, Floats alpha) {
  const Ints r = Truncate(red), g = Truncate(green), b = Truncate(blue), a = Truncate(alpha);
  return {PackQuarter(b.a, g.a, r.a, a.a), PackQuarter(b.b, g.b, r.b, a.b), PackQuarter(b.c, g.c, r.c, a.c),
          PackQuarter(b.d, g.d, r.d, a.d)};
}

// Memory.
LANE_FN std::int32_t WordAt(const void* base, std::int32_t byteOffset) {
  std::int32_t word;
  __builtin_memcpy(&word, static_cast<const char*>(base) + byteOffset, 4);
  return word;
}
LANE_FN void Spill(std::int32_t* to, Ints x) {
  _mm_store_si128(reinterpret_cast<__m128i*>(to), x.a);
  _mm_store_si128(reinterpret_cast<__m128i*>(to + 4), x.b);
  _mm_store_si128(reinterpret_cast<__m128i*>(to + 8), x.c);
  _mm_store_si128(reinterpret_cast<__m128i*>(to + 12), x.d);
}
LANE_FN __m128i GatherQuarter(const void* base, const std::int32_t* o) {
  return _mm_setr_epi32(WordAt(base, o[0]), WordAt(base, o[1]), WordAt(base, o[2]), WordAt(base, o[3]));
}
/// Words at byte offsets, all lanes.
LANE_FN Ints Gather(const void* base, Ints byteOffsets) {
  alignas(16) std::int32_t o[kLanes];
  Spill(o, byteOffsets);
  return {GatherQuarter(base, o), GatherQuarter(base, o + 4), GatherQuarter(base, o + 8), GatherQuarter(base, o + 12)};
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
/// The words at byte offsets and the words right behind them.
LANE_FN void GatherPairs(const void* base, Ints byteOffsets, Ints& first, Ints& second) {
  alignas(16) std::int32_t o[kLanes];
  Spill(o, byteOffsets);
  GatherPairsQuarter(base, o, first.a, second.a);
  GatherPairsQuarter(base, o + 4, first.b, second.b);
  GatherPairsQuarter(base, o + 8, first.c, second.c);
  GatherPairsQuarter(base, o + 12, first.d, second.d);
}
/// Words of the live lanes, 0 in the others, which are not read.
LANE_FN Ints GatherLive(const void* base, Ints byteOffsets, Mask live) {
  alignas(16) std::int32_t o[kLanes], words[kLanes] = {};
  Spill(o, byteOffsets);
  for (unsigned bits = LiveBits(live); bits != 0; bits &= bits - 1) {
    const int lane = __builtin_ctz(bits);
    words[lane] = WordAt(base, o[lane]);
  }
  const __m128i* w = reinterpret_cast<const __m128i*>(words);
  return {_mm_load_si128(w), _mm_load_si128(w + 1), _mm_load_si128(w + 2), _mm_load_si128(w + 3)};
}
/// Writes the words of the live lanes.
LANE_FN void ScatterLive(void* base, Ints byteOffsets, Ints words, Mask live) {
  alignas(16) std::int32_t o[kLanes], w[kLanes];
  Spill(o, byteOffsets);
  Spill(w, words);
  for (unsigned bits = LiveBits(live); bits != 0; bits &= bits - 1) {
    const int lane = __builtin_ctz(bits);
    __builtin_memcpy(static_cast<char*>(base) + o[lane], &w[lane], 4);
  }
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
  DealRows(r, r + 2 * strideBytes, e.a, o.a);
  DealRows(r + 4 * strideBytes, r + 6 * strideBytes, e.b, o.b);
  even = Bits(e);
  odd = Bits(o);
}
LANE_FN void StorePlaneRows(void* rows, std::ptrdiff_t strideBytes, Ints even, Ints odd) {
  char* r = static_cast<char*>(rows);
  const Floats e = FromBits(even), o = FromBits(odd);
  JoinRows(r, r + 2 * strideBytes, e.a, o.a);
  JoinRows(r + 4 * strideBytes, r + 6 * strideBytes, e.b, o.b);
}

}  // namespace
}  // namespace tlr2
