// Random kernel calls, each made from one number alone, so that a failing one can be made again.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "records/kernel_args.h"

namespace tlr2::judge {

/// A framebuffer with what lies around it, triangles, textures and a call. `Args` points into this object.
struct RandomTile {
  std::uint64_t seed = 0;

  std::vector<std::uint32_t> color;  // guard words, rows, guard words
  std::vector<float> depth;
  std::uint32_t colorStride = 0;  // in words
  std::uint32_t depthStride = 0;
  std::int32_t originX = 0, originY = 0;  // pixel at the first word past the guard

  std::vector<TriangleRecord> triangles;
  std::vector<TextureCacheEntry> textures;
  std::vector<std::uint32_t> texels;
  std::uint32_t textureCount = 0;
  std::vector<std::uint32_t> entries;
  std::int32_t entryCount = 0;
  std::int32_t kernelMode = 0;
  std::int32_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;
  float hizCell = 1.0f;

  KernelFrameArgs Args(std::uint32_t* colorWords, float* depthWords) const;
  std::string Describe() const;
};

inline constexpr std::size_t kGuardWords = 64;

void MakeRandomTile(std::uint64_t seed, RandomTile& tile);

/// A call of up to 119 triangles, most of which others hide.
void MakeRandomPile(std::uint64_t seed, RandomTile& tile);

/// A call of a few steep triangles behind one that holds the whole tile, and that lies hardly nearer, or hardly less
/// near, than the nearest of their vertices.
void MakeRandomCover(std::uint64_t seed, RandomTile& tile);

/// A call of up to four triangles of which products of coordinates and depths come to about the greatest float.
void MakeRandomHuge(std::uint64_t seed, RandomTile& tile);

}  // namespace tlr2::judge
