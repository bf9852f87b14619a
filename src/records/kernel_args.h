// The arguments of a tile kernel.
#pragma once

#include <cstddef>
#include <cstdint>

#include "records/texture_cache_entry.h"
#include "records/triangle.h"

namespace tlr2 {

/// Filled once a frame, only read by kernels. Eight 32-bit words on the 32-bit target; the pointers widen elsewhere.
struct KernelFrameArgs {
  std::uint32_t colorStrideBytes;
  std::uint32_t* colorPixels;  // 0xAARRGGBB
  float* depthPixels;
  std::uint32_t depthStrideBytes;  // width * 4
  const TriangleRecord* triangles;
  const TextureCacheEntry* textureCache;
  std::uint32_t textureCacheCount;  // a textureIndex not below this: no texture
  std::int32_t kernelMode;          // 0 all pixels shaded, 1 adaptive sharing, else one shaded pixel a quad
};
#if UINTPTR_MAX == 0xFFFFFFFFu
static_assert(sizeof(KernelFrameArgs) == 32 && offsetof(KernelFrameArgs, triangles) == 16);
static_assert(offsetof(KernelFrameArgs, kernelMode) == 28);
#endif

/// Rasterises the `entryCount` triangles `entries` (indices, in order) into the micro tile [x0,x1) by [y0,y1), at most
/// 8 by 8 pixels with x0 and y0 multiples of 8. Reads and lowers the tile's far-depth bound `hizCell`.
using TileKernelFn = void (*)(const KernelFrameArgs* args, std::int32_t x0, std::int32_t y0, std::int32_t x1,
                              std::int32_t y1, const std::uint32_t* entries, std::int32_t entryCount, float* hizCell);

/// What buffers are still to be cleared to.
struct TileClears {
  bool color = false, depth = false;
  std::uint32_t colorValue = 0, depthBits = 0;
};

/// The same as TileKernelFn on a micro tile whose pixels are yet to be cleared: what `clears` names is not read, but
/// written in all pixels of the tile, whatever the list draws.
using ClearingTileKernelFn = void (*)(const KernelFrameArgs* args, std::int32_t x0, std::int32_t y0, std::int32_t x1,
                                      std::int32_t y1, const std::uint32_t* entries, std::int32_t entryCount,
                                      float* hizCell, const TileClears* clears);

}  // namespace tlr2
