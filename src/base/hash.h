// 32-bit FNV-1a over bytes: offset basis 0x811C9DC5, prime 0x01000193.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tlr2 {

inline constexpr std::uint32_t kFnvBasis = 0x811C9DC5u;
inline constexpr std::uint32_t kFnvPrime = 0x01000193u;

/// A byte at a time, from the state `hash`.
inline std::uint32_t Fnv1aContinue(std::uint32_t hash, const std::uint8_t* bytes, std::size_t size) noexcept {
  for (std::size_t i = 0; i < size; ++i) hash = (hash ^ bytes[i]) * kFnvPrime;
  return hash;
}

/// The same hash for long runs, many parts of them at a time.
std::uint32_t Fnv1aLong(const std::uint8_t* bytes, std::size_t size) noexcept;
/// Its two forms; the second only where the processor has AVX2.
std::uint32_t Fnv1aLongPlain(const std::uint8_t* bytes, std::size_t size) noexcept;
std::uint32_t Fnv1aLongAvx2(const std::uint8_t* bytes, std::size_t size) noexcept;
inline constexpr std::size_t kFnvLongBytes = 8192;

inline std::uint32_t Fnv1a(const void* data, std::size_t size) noexcept {
  const auto* bytes = static_cast<const std::uint8_t*>(data);
  return size >= kFnvLongBytes ? Fnv1aLong(bytes, size) : Fnv1aContinue(kFnvBasis, bytes, size);
}

}  // namespace tlr2
