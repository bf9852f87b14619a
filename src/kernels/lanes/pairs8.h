// Texels and those right behind them, of eight lanes: the same of avx and avx2. Included by the lanes, after their
// integers.
#pragma once

namespace tlr2 {
namespace {

/// Two lanes' words and the words right behind them.
LANE_FN __m128 TwoPairs(const char* base, std::int32_t first, std::int32_t second) {
  return _mm_loadh_pi(
      _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(base + std::ptrdiff_t{first} * 4))),
      reinterpret_cast<const __m64*>(base + std::ptrdiff_t{second} * 4));
}
/// Four lanes' pairs: 0, 1, 4, 5 or 2, 3, 6, 7, so that a shuffle finds each lane's pair in the right 128 bits.
LANE_FN __m256 FourPairs(const char* base, const std::int32_t* o) {
  return _mm256_insertf128_ps(_mm256_castps128_ps256(TwoPairs(base, o[0], o[1])), TwoPairs(base, o[4], o[5]), 1);
}
LANE_FN void PartPairs(__m256 low, __m256 high, IntsPart& first, IntsPart& second) {
  first.v = _mm256_castps_si256(_mm256_shuffle_ps(low, high, 0x88));
  second.v = _mm256_castps_si256(_mm256_shuffle_ps(low, high, 0xDD));
}
/// The words at offsets in words and the words right behind them. A load a lane: gathers of pairs take longer, since
/// they run out of microcode.
LANE_FN void GatherPairs(const void* base, const IntsPart& offsets, IntsPart& first, IntsPart& second) {
  const char* bytes = static_cast<const char*>(base);
  const std::int32_t* o = WordsOf(offsets);
  PartPairs(FourPairs(bytes, o), FourPairs(bytes, o + 2), first, second);
}
/// The same from two bases.
LANE_FN void GatherSquares(const char* upper, const char* lower, const IntsPart& offsets, IntsPart& upperFirst,
                           IntsPart& upperSecond, IntsPart& lowerFirst, IntsPart& lowerSecond) {
  const std::int32_t* o = WordsOf(offsets);
  const __m256 upperLow = FourPairs(upper, o), lowerLow = FourPairs(lower, o);
  const __m256 upperHigh = FourPairs(upper, o + 2), lowerHigh = FourPairs(lower, o + 2);
  PartPairs(upperLow, upperHigh, upperFirst, upperSecond);
  PartPairs(lowerLow, lowerHigh, lowerFirst, lowerSecond);
}

}  // namespace
}  // namespace tlr2
