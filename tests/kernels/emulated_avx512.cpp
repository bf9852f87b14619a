// The avx512skx target over emulated intrinsics, so that its logic is judged on processors without them. Fused products
// are the processor's own 256-bit ones.
#define SIMDE_ENABLE_NATIVE_ALIASES
#include <simde/x86/avx512.h>

#include <cstring>

namespace {

struct Halves {
  __m256i low, high;
};
Halves Split(simde__m512i x) {
  Halves h;
  std::memcpy(&h, &x, sizeof h);
  return h;
}
template <typename Whole, typename Half>
Whole Whole512(Half low, Half high) {
  Whole w;
  std::memcpy(&w, &low, 32);
  std::memcpy(reinterpret_cast<char*>(&w) + 32, &high, 32);
  return w;
}

// What the emulation lacks.
simde__m512i TruncateEmulated(simde__m512 x) {
  const Halves h = Split(simde_mm512_castps_si512(x));
  return Whole512<simde__m512i>(_mm256_cvttps_epi32(_mm256_castsi256_ps(h.low)),
                                _mm256_cvttps_epi32(_mm256_castsi256_ps(h.high)));
}
simde__m512 ConvertEmulated(simde__m512i x) {
  const Halves h = Split(x);
  return Whole512<simde__m512>(_mm256_cvtepi32_ps(h.low), _mm256_cvtepi32_ps(h.high));
}
simde__m512 FloorEmulated(simde__m512 x) {
  const Halves h = Split(simde_mm512_castps_si512(x));
  return Whole512<simde__m512>(_mm256_floor_ps(_mm256_castsi256_ps(h.low)),
                               _mm256_floor_ps(_mm256_castsi256_ps(h.high)));
}
simde__m512i ShiftRightEmulated(simde__m512i x, int by) {
  const Halves h = Split(x);
  return Whole512<simde__m512i>(_mm256_srai_epi32(h.low, by), _mm256_srai_epi32(h.high, by));
}
template <typename Element, int Count, typename Index>
simde__m512i GatherEmulated(simde__m512i fill, unsigned live, Index offsets, const void* base, int scale) {
  std::int32_t o[Count];
  Element words[Count];
  std::memcpy(o, &offsets, sizeof o);
  std::memcpy(words, &fill, sizeof words);
  for (int i = 0; i < Count; ++i) {
    if ((live >> i & 1u) != 0) std::memcpy(&words[i], static_cast<const char*>(base) + o[i] * scale, sizeof(Element));
  }
  simde__m512i out;
  std::memcpy(&out, words, sizeof out);
  return out;
}
void ScatterEmulated(void* base, unsigned live, simde__m512i offsets, simde__m512i values, int scale) {
  std::int32_t o[16], words[16];
  std::memcpy(o, &offsets, sizeof o);
  std::memcpy(words, &values, sizeof words);
  for (int i = 0; i < 16; ++i) {
    if ((live >> i & 1u) != 0) std::memcpy(static_cast<char*>(base) + o[i] * scale, &words[i], 4);
  }
}

}  // namespace

#undef _mm512_i32gather_epi32
#undef _mm512_i32gather_epi64
#undef _mm512_mask_i32gather_epi32
#undef _mm512_mask_i32scatter_epi32
#define _mm512_cvttps_epi32(x) TruncateEmulated(x)
#define _mm512_cvtepi32_ps(x) ConvertEmulated(x)
#define _mm512_floor_ps(x) FloorEmulated(x)
#define _mm512_srai_epi32(x, by) ShiftRightEmulated(x, by)
#define _mm512_i32gather_epi32(o, base, scale) \
  GatherEmulated<std::int32_t, 16>(simde_mm512_setzero_si512(), 0xFFFFu, o, base, scale)
#define _mm512_i32gather_epi64(o, base, scale) \
  GatherEmulated<std::int64_t, 8>(simde_mm512_setzero_si512(), 0xFFu, o, base, scale)
#define _mm512_mask_i32gather_epi32(fill, live, o, base, scale) \
  GatherEmulated<std::int32_t, 16>(fill, live, o, base, scale)
#define _mm512_mask_i32scatter_epi32(base, live, o, words, scale) ScatterEmulated(base, live, o, words, scale)

#ifndef TLR2_EMULATED_AVX512
#define TLR2_EMULATED_AVX512 1
#endif
#define TLR2_KERNEL_TARGET avx512emulated
// clang-format off
#include "kernels/lanes/avx512skx.h"
#include "kernels/body/kernel.h"  // after the lanes it works on
