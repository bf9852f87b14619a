// 4 by 4 matrices in single precision: column-major, sixteen floats. The order of every operation is fixed: the calls
// and the replay of their records must give the same bits, on every system.
#pragma once

#include <cmath>
#include <cstring>

namespace tlr2 {

/// out = a times b. Each element is summed from left to right, beginning with 0 (which turns a first product of -0
/// into +0). `out` may be `a` or `b`.
inline void MultiplyMatrices(const float* a, const float* b, float* out) noexcept {
  float result[16];
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 4; ++j) {
      result[4 * i + j] =
          (((0.0f + b[4 * i] * a[j]) + b[4 * i + 1] * a[4 + j]) + b[4 * i + 2] * a[8 + j]) + b[4 * i + 3] * a[12 + j];
    }
  }
  std::memcpy(out, result, sizeof result);
}

inline void IdentityMatrix(float* m) noexcept {
  for (int i = 0; i < 16; ++i) m[i] = i % 5 == 0 ? 1.0f : 0.0f;
}

inline void TranslationMatrix(float x, float y, float z, float* m) noexcept {
  IdentityMatrix(m);
  m[12] = x;
  m[13] = y;
  m[14] = z;
}

inline void ScaleMatrix(float x, float y, float z, float* m) noexcept {
  IdentityMatrix(m);
  m[0] = x;
  m[5] = y;
  m[10] = z;
}

/// False, with `m` untouched, when the angle or the axis' length is exactly 0: such a rotation changes nothing. Sine
/// and cosine are the library's double routines, narrowed.
inline bool RotationMatrix(float angle, float x, float y, float z, float* m) noexcept {
  const float squared = x * x + y * y + z * z;
  if (angle == 0.0f || squared == 0.0f) return false;
  const float radians = (angle * 3.1415927f) / 180.0f;
  const float c = static_cast<float>(std::cos(static_cast<double>(radians)));
  const float s = static_cast<float>(std::sin(static_cast<double>(radians)));
  const float inverse = 1.0f / static_cast<float>(std::sqrt(static_cast<double>(squared)));
  const float nx = inverse * x, ny = inverse * y, nz = inverse * z;
  const float k = 1.0f - c;
  m[0] = nx * nx * k + c;
  m[1] = nx * ny * k + s * nz;
  m[2] = nx * nz * k - s * ny;
  m[3] = 0.0f;
  m[4] = nx * ny * k - s * nz;
  m[5] = ny * ny * k + c;
  m[6] = ny * nz * k + s * nx;
  m[7] = 0.0f;
  m[8] = nx * nz * k + s * ny;
  m[9] = ny * nz * k - s * nx;
  m[10] = nz * nz * k + c;
  m[11] = 0.0f;
  m[12] = m[13] = m[14] = 0.0f;
  m[15] = 1.0f;
  return true;
}

/// Zero denominators are let through: the infinities reach the matrix.
inline void OrthoMatrix(float l, float r, float b, float t, float n, float f, float* m) noexcept {
  IdentityMatrix(m);
  m[0] = 2.0f / (r - l);
  m[5] = 2.0f / (t - b);
  m[10] = -2.0f / (f - n);
  m[12] = -(r + l) / (r - l);
  m[13] = -(t + b) / (t - b);
  m[14] = -(f + n) / (f - n);
}

inline void FrustumMatrix(float l, float r, float b, float t, float n, float f, float* m) noexcept {
  for (int i = 0; i < 16; ++i) m[i] = 0.0f;
  m[0] = (n + n) / (r - l);
  m[5] = (n + n) / (t - b);
  m[8] = (r + l) / (r - l);
  m[9] = (t + b) / (t - b);
  m[10] = -(f + n) / (f - n);
  m[11] = -1.0f;
  m[14] = -((f + f) * n) / (f - n);
}

}  // namespace tlr2
