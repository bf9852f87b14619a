// Float to integer conversions with the processor's own answer for what does not fit: 0x80000000 for NaN and for any
// value outside the signed 32-bit range. Every conversion of a value that an application can make wild goes through
// here, so that none is left to the language's undefined behaviour.
#pragma once

#include <cstdint>
#include <limits>

namespace tlr2 {

inline constexpr std::int32_t kIntegerIndefinite = std::numeric_limits<std::int32_t>::min();

/// Truncation toward zero.
inline std::int32_t TruncateToInt(float value) noexcept {
  // The upper bound is exclusive: 2147483648.0f is the first float past the range, and no float lies between.
  if (!(value >= -2147483648.0f && value < 2147483648.0f)) return kIntegerIndefinite;
  return static_cast<std::int32_t>(value);
}

/// Largest integer not above `value`.
inline std::int32_t FloorToInt(float value) noexcept {
  const std::int32_t truncated = TruncateToInt(value);
  if (truncated == kIntegerIndefinite) return truncated;
  return truncated - (static_cast<float>(truncated) > value ? 1 : 0);
}

/// Smallest integer not below `value`.
inline std::int32_t CeilToInt(float value) noexcept {
  const std::int32_t truncated = TruncateToInt(value);
  if (truncated == kIntegerIndefinite) return truncated;
  return truncated + (static_cast<float>(truncated) < value ? 1 : 0);
}

}  // namespace tlr2
