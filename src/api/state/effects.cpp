// Effects of the matrix calls and of the texture environment on the driver state.
#include "api/state/effects.h"

namespace tlr2::effect {
namespace {

void MultiplyCurrent(DriverState& state, const float* m) noexcept {
  float* current = CurrentMatrix(state);
  MultiplyMatrices(current, m, current);
  state.matricesDirty = 1;
}

}  // namespace

void MatrixMode(DriverState& state, GLenum mode) noexcept {
  if (mode >= gl::kModelview && mode <= gl::kTexture)
    state.matrixMode = static_cast<std::int32_t>(mode - gl::kModelview);
}

void LoadIdentity(DriverState& state) noexcept {
  IdentityMatrix(CurrentMatrix(state));
  state.matricesDirty = 1;
}

void LoadMatrix(DriverState& state, const float* m) noexcept {
  // The application may pass memory that the matrix itself lies in.
  std::memmove(CurrentMatrix(state), m, 16 * sizeof(float));
  state.matricesDirty = 1;
}

void MultMatrix(DriverState& state, const float* m) noexcept { MultiplyCurrent(state, m); }

void PushMatrix(DriverState& state) noexcept {
  std::int32_t& depth = state.stackDepth[state.matrixMode];
  if (depth + 1 >= kMatrixDepth) return;
  const float* top = CurrentMatrix(state);
  ++depth;
  std::memcpy(CurrentMatrix(state), top, 16 * sizeof(float));
}

void PopMatrix(DriverState& state) noexcept {
  std::int32_t& depth = state.stackDepth[state.matrixMode];
  if (depth > 0) --depth;
  state.matricesDirty = 1;
}

void Translate(DriverState& state, float x, float y, float z) noexcept {
  float m[16];
  TranslationMatrix(x, y, z, m);
  MultiplyCurrent(state, m);
}

void Rotate(DriverState& state, float angle, float x, float y, float z) noexcept {
  float m[16];
  if (RotationMatrix(angle, x, y, z, m)) MultiplyCurrent(state, m);
}

void Scale(DriverState& state, float x, float y, float z) noexcept {
  float m[16];
  ScaleMatrix(x, y, z, m);
  MultiplyCurrent(state, m);
}

void Ortho(DriverState& state, float l, float r, float b, float t, float n, float f) noexcept {
  float m[16];
  OrthoMatrix(l, r, b, t, n, f, m);
  MultiplyCurrent(state, m);
}

void Frustum(DriverState& state, float l, float r, float b, float t, float n, float f) noexcept {
  float m[16];
  FrustumMatrix(l, r, b, t, n, f, m);
  MultiplyCurrent(state, m);
}

void TexEnvi(DriverState& state, GLenum target, GLenum pname, GLint param) noexcept {
  if (target == gl::kTextureEnv && pname == gl::kTextureEnvMode) state.texEnvMode = static_cast<std::uint32_t>(param);
}

void TexEnvfv(DriverState& state, GLenum target, GLenum pname, const float* params) noexcept {
  if (target != gl::kTextureEnv) return;
  if (pname == gl::kTextureEnvColor) {
    state.texEnvColor = PackColor(params[0], params[1], params[2], params[3]);
  } else if (pname == gl::kTextureEnvMode) {
    state.texEnvMode = static_cast<std::uint32_t>(TruncateToInt(params[0]));
  }
}

}  // namespace tlr2::effect
