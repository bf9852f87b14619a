// What each call does to the driver state, written once and applied twice: by the entry, so that queries answer at
// once, and by the interpreter, which builds the picture. Arguments are those of the record, so entries narrow doubles
// and cut booleans to their low byte first.
//
// Mirror and replay differ on purpose in four places, none of them here: the interpreter does not save textures for
// the keyframe; only a thread with a current context asks its surface to grow, between StoreViewport and
// CoverViewport; the interpreter makes a packet before EndPrimitive; and a read-back drains the frame in the entry
// alone. Textures' effects are in textures/texture_ops.h.
#pragma once

#include <cstdint>
#include <cstring>

#include "base/color.h"
#include "base/convert.h"
#include "base/matrix.h"
#include "records/driver_state.h"

namespace tlr2::effect {

// Matrices.

inline float* CurrentMatrix(DriverState& state) noexcept {
  return state.matrixStacks[state.matrixMode][state.stackDepth[state.matrixMode]];
}

void MatrixMode(DriverState& state, GLenum mode) noexcept;
void LoadIdentity(DriverState& state) noexcept;
void LoadMatrix(DriverState& state, const float* m) noexcept;
void MultMatrix(DriverState& state, const float* m) noexcept;
/// Dropped when the stack is full.
void PushMatrix(DriverState& state) noexcept;
/// Marks the matrices dirty even when the stack is at its bottom.
void PopMatrix(DriverState& state) noexcept;
void Translate(DriverState& state, float x, float y, float z) noexcept;
void Rotate(DriverState& state, float angle, float x, float y, float z) noexcept;
void Scale(DriverState& state, float x, float y, float z) noexcept;
void Ortho(DriverState& state, float l, float r, float b, float t, float n, float f) noexcept;
void Frustum(DriverState& state, float l, float r, float b, float t, float n, float f) noexcept;
/// combinedMatrix = projection top times modelview top, if a matrix changed since it was last made.
inline void RefreshCombinedMatrix(DriverState& state) noexcept {
  if (state.matricesDirty == 0) return;
  MultiplyMatrices(state.matrixStacks[1][state.stackDepth[1]], state.matrixStacks[0][state.stackDepth[0]],
                   state.combinedMatrix);
  state.matricesDirty = 0;
}

/// The rectangle alone. The caller then lets a current context's surface grow, and calls CoverViewport.
inline void StoreViewport(DriverState& state, GLint x, GLint y, GLsizei width, GLsizei height) noexcept {
  state.viewport[0] = x;
  state.viewport[1] = y;
  state.viewport[2] = width;
  state.viewport[3] = height;
}

inline void DepthRange(DriverState& state, float zNear, float zFar) noexcept {
  state.depthNear = zNear;
  state.depthFar = zFar;
}

// Render state.

/// The flag of a known capability, else null.
inline std::uint8_t* CapabilityFlag(DriverState& state, GLenum cap) noexcept {
  switch (cap) {
    case gl::kCullFace:
      return &state.cullEnabled;
    case gl::kDepthTest:
      return &state.depthTestEnabled;
    case gl::kAlphaTest:
      return &state.alphaTestEnabled;
    case gl::kBlend:
      return &state.blendEnabled;
    case gl::kTexture2D:
      return &state.texture2DEnabled;
    default:
      return nullptr;
  }
}
inline void SetCapability(DriverState& state, GLenum cap, bool on) noexcept {
  if (std::uint8_t* flag = CapabilityFlag(state, cap)) *flag = on ? 1 : 0;
}
inline void BlendFunc(DriverState& state, GLenum source, GLenum destination) noexcept {
  state.blendSrc = source;
  state.blendDst = destination;
}
inline void AlphaFunc(DriverState& state, GLenum func, float ref) noexcept {
  state.alphaFunc = func;
  state.alphaRef = ref;
}
inline void DepthFunc(DriverState& state, GLenum func) noexcept { state.depthFunc = func; }
/// `flag` as recorded: the low byte of the call's argument.
inline void DepthMask(DriverState& state, std::uint32_t flag) noexcept { state.depthMask = flag != 0 ? 1 : 0; }
inline void CullFace(DriverState& state, GLenum mode) noexcept { state.cullMode = mode; }
inline void FrontFace(DriverState& state, GLenum mode) noexcept { state.frontFace = mode; }
inline void ClearColor(DriverState& state, float r, float g, float b, float a) noexcept {
  state.clearColor = PackColor(r, g, b, a);
}
inline void ClearDepth(DriverState& state, float depth) noexcept { state.clearDepth = depth; }
/// Latches the present clear values; memory is cleared before the frame's first triangle.
inline void Clear(DriverState& state, GLbitfield mask) noexcept {
  if ((mask & gl::kColorBufferBit) != 0) {
    state.pendingColorClear = 1;
    state.pendingColorClearValue = state.clearColor;
  }
  if ((mask & gl::kDepthBufferBit) != 0) {
    state.pendingDepthClear = 1;
    state.pendingDepthClearValue = state.clearDepth;
  }
}
void TexEnvi(DriverState& state, GLenum target, GLenum pname, GLint param) noexcept;
/// Four floats, whatever `pname` is.
void TexEnvfv(DriverState& state, GLenum target, GLenum pname, const float* params) noexcept;

// Vertices.

/// `color` packed, 0xAARRGGBB.
inline void Color(DriverState& state, std::uint32_t color) noexcept { state.currentColor = color; }
inline void TexCoord(DriverState& state, float s, float t) noexcept {
  state.currentS = s;
  state.currentT = t;
}
inline void Begin(DriverState& state, GLenum mode) noexcept {
  state.primitiveMode = mode;
  state.vertices.clear();
}
inline void Vertex(DriverState& state, float x, float y, float z) {
  state.vertices.push_back({x, y, z, state.currentColor, state.currentS, state.currentT});
}
inline void EndPrimitive(DriverState& state) noexcept {
  state.primitiveMode = 0;
  state.vertices.clear();
}

}  // namespace tlr2::effect
