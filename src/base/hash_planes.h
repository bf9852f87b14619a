// Bytes as planes of bits, for both forms of a long hash: FNV-1a's low byte goes through them bit by bit, lowest first.
// Everything here is inlined wherever it is used, so that nothing compiled for a wider processor is linked for another.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "base/hash.h"

#define TLR2_INLINE [[gnu::always_inline]] inline  // also: the planes stay in registers only in one function

namespace tlr2::planes {

/// Sixteen bytes of one plane: bit m of byte j belongs to place 16 m + j.
using Plane16 = std::uint64_t __attribute__((vector_size(16)));

TLR2_INLINE Plane16 SplatByte(std::uint32_t byte) noexcept {
  using Words = std::uint32_t __attribute__((vector_size(16)));
  const std::uint32_t word = byte * 0x01010101u;
  return (Plane16)Words{word, word, word, word};
}

/// Byte i of the result is byte i - Count of `plane`; the first ones are 0.
template <int Count, int... I>
TLR2_INLINE Plane16 ShiftUp(const Plane16& plane, std::integer_sequence<int, I...>) noexcept {
  using Bytes = std::uint8_t __attribute__((vector_size(16)));
  const Bytes zero = {}, bytes = (Bytes)plane;
  return (Plane16)__builtin_shufflevector(zero, bytes, (I < Count ? I : 16 + I - Count)...);
}
template <int Count>
TLR2_INLINE Plane16 ShiftUp(const Plane16& plane) noexcept {
  return ShiftUp<Count>(plane, std::make_integer_sequence<int, 16>());
}

/// From the places that flip the running bit to the bit before each; `low` has its first value in bit `k` and takes its
/// last.
TLR2_INLINE Plane16 RunPlane(Plane16 flips, int k, std::uint32_t& low) noexcept {
  flips ^= ShiftUp<1>(flips);
  flips ^= ShiftUp<2>(flips);
  flips ^= ShiftUp<4>(flips);
  flips ^= ShiftUp<8>(flips);
  // Each row of 16 by itself so far; the last byte has the rows' sums, of which the running xor starts each row.
  using Halves = std::uint16_t __attribute__((vector_size(16)));
  std::uint32_t rows = static_cast<std::uint32_t>(((Halves)flips)[7]) >> 8;
  rows ^= rows << 1;
  rows ^= rows << 2;
  rows ^= rows << 4;
  const std::uint32_t first = 0u - (low >> k & 1);
  low ^= (rows >> 7 & 1) << k;
  return ShiftUp<1>(flips) ^ SplatByte((rows << 1 ^ first) & 0xFF);
}

template <int Shift, typename Plane>
TLR2_INLINE void SwapBits(Plane& a, Plane& b, std::uint32_t mask) noexcept {
  const std::uint64_t wide = mask * 0x0101010101010101u;
  const Plane difference = ((a >> Shift) ^ b) & wide;
  b ^= difference;
  a ^= difference << Shift;
}

/// Eight rows to eight planes, and back: bit m of byte j of plane k is bit k of byte j of row m.
template <typename Plane>
TLR2_INLINE void ToPlanes(Plane* rows) noexcept {
  SwapBits<4>(rows[0], rows[4], 0x0F);
  SwapBits<4>(rows[1], rows[5], 0x0F);
  SwapBits<4>(rows[2], rows[6], 0x0F);
  SwapBits<4>(rows[3], rows[7], 0x0F);
  SwapBits<2>(rows[0], rows[2], 0x33);
  SwapBits<2>(rows[1], rows[3], 0x33);
  SwapBits<2>(rows[4], rows[6], 0x33);
  SwapBits<2>(rows[5], rows[7], 0x33);
  SwapBits<1>(rows[0], rows[1], 0x55);
  SwapBits<1>(rows[2], rows[3], 0x55);
  SwapBits<1>(rows[4], rows[5], 0x55);
  SwapBits<1>(rows[6], rows[7], 0x55);
}

template <typename Plane>
TLR2_INLINE Plane Majority(const Plane& a, const Plane& b, const Plane& c) noexcept {
  return (a & b) | (c & (a | b));
}

TLR2_INLINE constexpr std::uint32_t PrimePower(std::size_t exponent) noexcept {
  std::uint32_t result = 1, factor = kFnvPrime;
  for (; exponent != 0; exponent >>= 1) {
    if ((exponent & 1) != 0) result *= factor;
    factor *= factor;
  }
  return result;
}

}  // namespace tlr2::planes
