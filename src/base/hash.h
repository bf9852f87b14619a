// 32-bit FNV-1a over bytes: offset basis 0x811C9DC5, prime 0x01000193.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tlr2 {

inline std::uint32_t Fnv1a(const void* data, std::size_t size) noexcept {
  const auto* bytes = static_cast<const std::uint8_t*>(data);
  std::uint32_t hash = 0x811C9DC5u;
  for (std::size_t i = 0; i < size; ++i) hash = (hash ^ bytes[i]) * 0x01000193u;
  return hash;
}

}  // namespace tlr2
