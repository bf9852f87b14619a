// Rows of eight pixels and the planes of avx and avx2. Included by the lanes, after the pairs.
#pragma once

namespace tlr2 {
namespace {

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
