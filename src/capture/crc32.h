// CRC-32, reflected polynomial 0xEDB88320. The CRC of nothing is 0.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tlr2 {

inline std::uint32_t Crc32(const void* data, std::size_t size) noexcept {
  static const std::array<std::uint32_t, 256> table = [] {
    std::array<std::uint32_t, 256> made{};
    for (std::uint32_t i = 0; i < 256; ++i) {
      std::uint32_t value = i;
      for (int bit = 0; bit < 8; ++bit) value = (value & 1u) != 0 ? value >> 1 ^ 0xEDB88320u : value >> 1;
      made[i] = value;
    }
    return made;
  }();
  const auto* bytes = static_cast<const std::uint8_t*>(data);
  std::uint32_t crc = 0xFFFFFFFFu;
  for (std::size_t i = 0; i < size; ++i) crc = crc >> 8 ^ table[(crc ^ bytes[i]) & 0xFFu];
  return ~crc;
}

}  // namespace tlr2
