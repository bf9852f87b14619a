// Four floats at a time, in the vector baseline of every build: for the passes over all triangles that run outside the
// kernels. Each operation rounds on its own; nothing fuses.
#pragma once

#include <cstdint>
#include <cstring>

#include "base/convert.h"

namespace tlr2 {

using Float4 = float __attribute__((vector_size(16)));
using Int4 = std::int32_t __attribute__((vector_size(16)));

inline Float4 Splat4(float value) noexcept { return Float4{value, value, value, value}; }
inline Int4 Splat4(std::int32_t value) noexcept { return Int4{value, value, value, value}; }

inline Float4 Load4(const float* source) noexcept {
  Float4 out;
  std::memcpy(&out, source, sizeof out);
  return out;
}
inline void Store4(std::int32_t* destination, Int4 value) noexcept { std::memcpy(destination, &value, sizeof value); }

/// `a` where it is the smaller (the larger), else `b`; so `b` when either is NaN.
inline Float4 Min4(Float4 a, Float4 b) noexcept { return a < b ? a : b; }
inline Float4 Max4(Float4 a, Float4 b) noexcept { return a > b ? a : b; }
inline Int4 Min4(Int4 a, Int4 b) noexcept { return a < b ? a : b; }
inline Int4 Max4(Int4 a, Int4 b) noexcept { return a > b ? a : b; }

/// FloorToInt of each lane: 0x80000000 for NaN and for what does not fit.
inline Int4 FloorToInt4(Float4 value) noexcept {
  const Int4 fits = (value >= Splat4(-2147483648.0f)) & (value < Splat4(2147483648.0f));
  Float4 safe = value;
  safe = fits != 0 ? safe : Splat4(0.0f);
  Int4 whole = __builtin_convertvector(safe, Int4);
  whole += __builtin_convertvector(whole, Float4) > safe;  // a true lane is -1
  return fits != 0 ? whole : Splat4(kIntegerIndefinite);
}

/// CeilToInt of each lane. Minus of 0x80000000 is itself, as in the processor.
inline Int4 CeilToInt4(Float4 value) noexcept {
  using Unsigned4 = std::uint32_t __attribute__((vector_size(16)));
  return reinterpret_cast<Int4>(-reinterpret_cast<Unsigned4>(FloorToInt4(-value)));
}

/// Whether any lane of a comparison's result is true.
inline bool AnyLane(Int4 mask) noexcept { return __builtin_ia32_movmskps(reinterpret_cast<Float4>(mask)) != 0; }

/// Turns four rows of four into columns.
inline void Transpose4(Float4& a, Float4& b, Float4& c, Float4& d) noexcept {
  const Float4 ab0 = __builtin_shufflevector(a, b, 0, 4, 1, 5);
  const Float4 ab1 = __builtin_shufflevector(a, b, 2, 6, 3, 7);
  const Float4 cd0 = __builtin_shufflevector(c, d, 0, 4, 1, 5);
  const Float4 cd1 = __builtin_shufflevector(c, d, 2, 6, 3, 7);
  a = __builtin_shufflevector(ab0, cd0, 0, 1, 4, 5);
  b = __builtin_shufflevector(ab0, cd0, 2, 3, 6, 7);
  c = __builtin_shufflevector(ab1, cd1, 0, 1, 4, 5);
  d = __builtin_shufflevector(ab1, cd1, 2, 3, 6, 7);
}

}  // namespace tlr2
