// The flat per-frame form of a texture that kernels gather from. Apart from the texture object, so that code compiled
// for wide vector units sees no container.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tlr2 {

inline constexpr int kMaxLevels = 16;

/// What a kernel needs of one texture. 120 32-bit words, read by gathers.
struct TextureCacheEntry {
  std::int32_t width;  // 0: no texture
  std::int32_t height;
  std::int32_t baseLevel;  // always 0
  std::int32_t levelWidth[kMaxLevels];
  std::int32_t levelHeight[kMaxLevels];
  std::int32_t levelStrideBytes[kMaxLevels];
  std::int32_t levelTexelBytes[kMaxLevels];
  std::int32_t levelOffsetBytes[kMaxLevels];
  std::int32_t wrapClampS;  // 1 clamp, else repeat
  std::int32_t wrapClampT;
  std::int32_t reserved[3];
  std::uint64_t texels[kMaxLevels];  // [0]: address of the first texel, sign-extended; the others 0
};
static_assert(sizeof(TextureCacheEntry) == 480);
static_assert(offsetof(TextureCacheEntry, levelWidth) == 12 && offsetof(TextureCacheEntry, levelHeight) == 76);
static_assert(offsetof(TextureCacheEntry, levelStrideBytes) == 140);
static_assert(offsetof(TextureCacheEntry, levelOffsetBytes) == 268);
static_assert(offsetof(TextureCacheEntry, wrapClampS) == 332 && offsetof(TextureCacheEntry, texels) == 352);

}  // namespace tlr2
