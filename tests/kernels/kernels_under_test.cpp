// Which kernels there are, and which of them this processor and its system can run.
#include "kernels_under_test.h"

#include <array>

#include "kernels/tile_kernel.h"
#include "platform/cpu.h"
#include "scalar_kernel.h"

#if TLR2_EMULATED_AVX512
extern "C" void tlr2_TileKernel_avx512emulated(const tlr2::KernelFrameArgs* args, std::int32_t x0, std::int32_t y0,
                                               std::int32_t x1, std::int32_t y1, const std::uint32_t* entries,
                                               std::int32_t entryCount, float* hizCell);
extern "C" void tlr2_ClearingTileKernel_avx512emulated(const tlr2::KernelFrameArgs* args, std::int32_t x0,
                                                       std::int32_t y0, std::int32_t x1, std::int32_t y1,
                                                       const std::uint32_t* entries, std::int32_t entryCount,
                                                       float* hizCell, const tlr2::TileClears* clears);
#endif

namespace tlr2::judge {
namespace {

template <int Lanes, bool Fused>
void Scalar(const KernelFrameArgs* args, std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1,
            const std::uint32_t* entries, std::int32_t entryCount, float* hizCell) {
  ScalarTileKernel(args, x0, y0, x1, y1, entries, entryCount, hizCell, Lanes, Fused);
}

bool Always() { return true; }

bool HasSse41() { return (Cpuid(1, 0).ecx >> 19 & 1u) != 0; }

// Bits 27 and 28: the system saves extended state, and the processor has AVX.
bool SavesState(std::uint64_t needed) {
  if ((Cpuid(1, 0).ecx >> 27 & 3u) != 3u) return false;
  return (Xgetbv0() & needed) == needed;
}

bool HasAvx() { return SavesState(0x6); }

bool HasAvx2() { return HasAvx() && (Cpuid(1, 0).ecx >> 12 & 1u) != 0 && (Cpuid(7, 0).ebx >> 5 & 1u) != 0; }

bool HasAvx512() {
  constexpr std::uint32_t needed = 1u << 16 | 1u << 17 | 1u << 28 | 1u << 30 | 1u << 31;  // F, DQ, CD, BW, VL
  return HasAvx2() && SavesState(0xE6) && (Cpuid(7, 0).ebx & needed) == needed;
}

constexpr TileKernelFn kScalar8 = Scalar<8, false>;
constexpr TileKernelFn kScalar16 = Scalar<16, false>;
constexpr TileKernelFn kScalar16Fused = Scalar<16, true>;

constexpr std::array kKernels = {
    KernelUnderTest{"scalar8", kScalar8, kScalar8, nullptr, 8, false, Always},
    KernelUnderTest{"scalar16", kScalar16, kScalar16, nullptr, 16, false, Always},
    KernelUnderTest{"scalar16fused", kScalar16Fused, kScalar16Fused, nullptr, 16, true, Always},
    KernelUnderTest{"sse4", tlr2_TileKernel_sse4, kScalar8, tlr2_ClearingTileKernel_sse4, 8, false, HasSse41},
    KernelUnderTest{"avx", tlr2_TileKernel_avx, kScalar16, tlr2_ClearingTileKernel_avx, 16, false, HasAvx},
    KernelUnderTest{"avx2", tlr2_TileKernel_avx2, kScalar16Fused, tlr2_ClearingTileKernel_avx2, 16, true, HasAvx2},
    KernelUnderTest{"avx512skx", tlr2_TileKernel_avx512skx, kScalar16Fused, tlr2_ClearingTileKernel_avx512skx, 16, true,
                    HasAvx512},
#if TLR2_EMULATED_AVX512
    KernelUnderTest{"avx512emulated", tlr2_TileKernel_avx512emulated, kScalar16Fused,
                    tlr2_ClearingTileKernel_avx512emulated, 16, true, HasAvx2},
#endif
};

}  // namespace

std::span<const KernelUnderTest> AllKernels() { return kKernels; }

std::span<const KernelUnderTest> RealKernels() { return AllKernels().subspan(3); }

}  // namespace tlr2::judge
