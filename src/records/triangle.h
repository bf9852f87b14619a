// TriangleRecord: the contract between emission, binning and the kernels, addressed by word position.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tlr2 {

inline constexpr std::uint32_t kNoTexture = 0xFFFFFFFFu;

/// Thirty-two 32-bit words. Screen coordinates in pixels, origin top left, y downward. Words 21 to 29 are the draw
/// state, copied whole from the packet's template; the others are per triangle.
struct TriangleRecord {
  float x[3];
  float y[3];
  float z[3];              // window depth
  std::uint32_t color[3];  // 0xAARRGGBB
  float s[3];              // as given by the call, not divided by w
  float t[3];
  float invW[3];
  std::uint32_t textureIndex;  // kNoTexture for none
  std::uint32_t blendMode;     // 0 none, 1 add, 2 multiply, 3 alpha
  std::uint32_t alphaTest;     // 0, 1
  std::uint32_t depthTest;     // 0, 1
  std::uint32_t depthFunc;     // 0 always, less, lequal, equal, gequal, greater, notequal, 7 never
  std::uint32_t depthWrite;    // 0, 1
  std::uint32_t texEnvMode;    // 0 modulate, 1 replace, 2 decal, 3 blend
  std::uint32_t texEnvColor;   // 0xAARRGGBB
  std::uint32_t filterMode;    // 0 nearest, 1 trilinear, 2 bilinear
  float zMin, zMax;
};
static_assert(sizeof(TriangleRecord) == 128);
static_assert(offsetof(TriangleRecord, y) == 12 && offsetof(TriangleRecord, z) == 24);
static_assert(offsetof(TriangleRecord, color) == 36 && offsetof(TriangleRecord, s) == 48);
static_assert(offsetof(TriangleRecord, t) == 60 && offsetof(TriangleRecord, invW) == 72);
static_assert(offsetof(TriangleRecord, textureIndex) == 84 && offsetof(TriangleRecord, blendMode) == 88);
static_assert(offsetof(TriangleRecord, filterMode) == 116 && offsetof(TriangleRecord, zMin) == 120);
static_assert(offsetof(TriangleRecord, zMax) == 124);

}  // namespace tlr2
