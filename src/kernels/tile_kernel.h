// The tile kernels: one source, four targets, and the choice between them.
#pragma once

#include <cstdint>

#include "records/kernel_args.h"

namespace tlr2 {

// Both forms of a target. The second one also clears the tile: it writes what the first one would leave of pixels
// cleared before.
#define TLR2_DECLARE_TILE_KERNELS(target)                                                                         \
  extern "C" void tlr2_TileKernel##target(const KernelFrameArgs* args, std::int32_t x0, std::int32_t y0,          \
                                          std::int32_t x1, std::int32_t y1, const std::uint32_t* entries,         \
                                          std::int32_t entryCount, float* hizCell);                               \
  extern "C" void tlr2_ClearingTileKernel##target(const KernelFrameArgs* args, std::int32_t x0, std::int32_t y0,  \
                                                  std::int32_t x1, std::int32_t y1, const std::uint32_t* entries, \
                                                  std::int32_t entryCount, float* hizCell, const TileClears* clears)
TLR2_DECLARE_TILE_KERNELS(_sse4);
TLR2_DECLARE_TILE_KERNELS(_avx);
TLR2_DECLARE_TILE_KERNELS(_avx2);
TLR2_DECLARE_TILE_KERNELS(_avx512skx);
/// Selects a target at the first call and forwards; stops the process with an illegal instruction where none fits.
TLR2_DECLARE_TILE_KERNELS();
#undef TLR2_DECLARE_TILE_KERNELS

/// Lane count of the target that the auto entry selects: 8 on sse4, else 16.
void KernelLaneCount(std::int32_t* out) noexcept;

/// Kernel of `target` (0 sse4, 1 avx, 2 avx2, 3 avx512skx); anything else: the auto entry.
TileKernelFn KernelForTarget(std::int32_t target) noexcept;
/// The clearing form of a kernel declared here; null for any other function.
ClearingTileKernelFn ClearingForm(TileKernelFn kernel) noexcept;

/// The processor facts that decide the level.
struct CpuFacts {
  std::uint32_t leaf1Ecx, leaf1Edx, leaf7Ebx, leaf7Sub1Eax;
  std::uint64_t xcr0;
};
/// -1 to 8 as the detection rules give; 7 and -1 are levels that stop the process.
std::int32_t KernelLevel(const CpuFacts& facts) noexcept;
/// Target of a level, -1 for none.
std::int32_t KernelTargetOfLevel(std::int32_t level) noexcept;

}  // namespace tlr2
