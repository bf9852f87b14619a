// Bytes of a capture file, built and read independently of the writer's structs.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

namespace tlr2 {

inline void Put32(std::string& bytes, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<char>(value >> 8 * i & 0xFF));
}
inline void Put64(std::string& bytes, std::uint64_t value) {
  Put32(bytes, static_cast<std::uint32_t>(value));
  Put32(bytes, static_cast<std::uint32_t>(value >> 32));
}
inline std::uint32_t Get32(const std::string& bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4 && at + i < bytes.size(); ++i)
    value |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[at + i])) << 8 * i;
  return value;
}
inline std::uint64_t Get64(const std::string& bytes, std::size_t at) {
  return Get32(bytes, at) | static_cast<std::uint64_t>(Get32(bytes, at + 4)) << 32;
}

/// The common CRC-32, a bit at a time.
inline std::uint32_t PlainCrc32(const std::string& bytes) {
  std::uint32_t crc = 0xFFFFFFFFu;
  for (const char byte : bytes) {
    crc ^= static_cast<unsigned char>(byte);
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ ((crc & 1u) != 0 ? 0xEDB88320u : 0);
  }
  return ~crc;
}

}  // namespace tlr2
