// Packed colours: one 32-bit word 0xAARRGGBB, so that the bytes in memory run blue, green, red, alpha.
#pragma once

#include <cstdint>

#include "base/convert.h"

namespace tlr2 {

inline constexpr std::uint32_t PackBytes(std::uint32_t r, std::uint32_t g, std::uint32_t b, std::uint32_t a) noexcept {
  return a << 24 | r << 16 | g << 8 | b;
}

/// One channel: 0 at or below 0, 255 at or above 1, else truncate(value * 255 + 0.5) in single precision. NaN fails
/// both comparisons and converts to 0x80000000.
inline std::uint32_t ChannelWord(float value) noexcept {
  if (value <= 0.0f) return 0;
  if (value >= 1.0f) return 255;
  const float scaled = value * 255.0f;
  return static_cast<std::uint32_t>(TruncateToInt(scaled + 0.5f));
}

/// The channel where a byte is stored: of NaN 0.
inline std::uint32_t ChannelByte(float value) noexcept { return ChannelWord(value) & 0xFFu; }

/// Nothing is cut off a channel: NaN's one bit leaves the word with the shifts, but stays in blue, where it is the
/// highest of alpha.
inline std::uint32_t PackColor(float r, float g, float b, float a) noexcept {
  return PackBytes(ChannelWord(r), ChannelWord(g), ChannelWord(b), ChannelWord(a));
}

}  // namespace tlr2
