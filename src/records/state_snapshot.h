// StateSnapshot: a plain image of the scalar part of the driver state. Written whole to capture files, so every offset
// is a file format; padding bytes are zero.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tlr2 {

inline constexpr int kMatrixStacks = 3;
inline constexpr int kMatrixDepth = 32;

struct StateSnapshot {
  std::int32_t matrixMode;
  std::int32_t stackDepth[kMatrixStacks];
  float matrixStacks[kMatrixStacks][kMatrixDepth][16];
  float combinedMatrix[16];
  std::uint8_t matricesDirty, pad0[3];
  std::int32_t viewport[4];
  std::int32_t fbWidth, fbHeight;
  std::int32_t microCols, microRows, macroCols, macroRows;
  std::uint32_t clearColor;
  std::uint8_t pendingColorClear, pad1[3];
  std::uint32_t pendingColorClearValue;
  std::uint8_t pendingDepthClear, pad2[3];
  float pendingDepthClearValue;
  float clearDepth;
  std::uint32_t currentColor;
  float currentS, currentT;
  std::uint8_t texture2DEnabled, pad3[3];
  std::uint32_t boundTexture;
  std::uint8_t blendEnabled, pad4[3];
  std::uint32_t blendSrc, blendDst;
  std::uint8_t alphaTestEnabled, pad5[3];
  std::uint32_t alphaFunc;
  float alphaRef;
  std::uint8_t depthTestEnabled, depthMask, pad6[2];
  std::uint32_t depthFunc;
  float depthNear, depthFar;
  std::uint32_t texEnvMode, texEnvColor;
  std::uint8_t cullEnabled, pad7[3];
  std::uint32_t cullMode, frontFace, primitiveMode;
};
static_assert(sizeof(StateSnapshot) == 6376);
static_assert(offsetof(StateSnapshot, combinedMatrix) == 6160 && offsetof(StateSnapshot, matricesDirty) == 6224);
static_assert(offsetof(StateSnapshot, viewport) == 6228 && offsetof(StateSnapshot, fbWidth) == 6244);
static_assert(offsetof(StateSnapshot, microCols) == 6252 && offsetof(StateSnapshot, clearColor) == 6268);
static_assert(offsetof(StateSnapshot, pendingColorClear) == 6272 && offsetof(StateSnapshot, clearDepth) == 6288);
static_assert(offsetof(StateSnapshot, pendingDepthClear) == 6280 && offsetof(StateSnapshot, currentColor) == 6292);
static_assert(offsetof(StateSnapshot, currentS) == 6296 && offsetof(StateSnapshot, texture2DEnabled) == 6304);
static_assert(offsetof(StateSnapshot, boundTexture) == 6308 && offsetof(StateSnapshot, blendEnabled) == 6312);
static_assert(offsetof(StateSnapshot, blendSrc) == 6316 && offsetof(StateSnapshot, alphaTestEnabled) == 6324);
static_assert(offsetof(StateSnapshot, alphaFunc) == 6328 && offsetof(StateSnapshot, depthTestEnabled) == 6336);
static_assert(offsetof(StateSnapshot, depthMask) == 6337 && offsetof(StateSnapshot, depthFunc) == 6340);
static_assert(offsetof(StateSnapshot, depthNear) == 6344 && offsetof(StateSnapshot, texEnvMode) == 6352);
static_assert(offsetof(StateSnapshot, cullEnabled) == 6360 && offsetof(StateSnapshot, cullMode) == 6364);
static_assert(offsetof(StateSnapshot, frontFace) == 6368 && offsetof(StateSnapshot, primitiveMode) == 6372);

}  // namespace tlr2
