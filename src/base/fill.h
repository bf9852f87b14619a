// Filling memory with one 32-bit word.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tlr2 {

/// Stores `value` in `count` words. The string store picks the widest path of the processor at hand, which a loop
/// compiled for the vector baseline does not.
inline void FillWords(void* first, std::uint32_t value, std::size_t count) noexcept {
  __asm__ volatile("rep stosl" : "+D"(first), "+c"(count) : "a"(value) : "memory");
}

/// The same for a few dozen words, where starting a string store costs more than the stores.
inline void FillShortRow(void* first, std::uint32_t value, std::size_t count) noexcept {
  using Words4 = std::uint32_t __attribute__((vector_size(16)));
  const Words4 four = {value, value, value, value};
  auto* out = static_cast<std::uint8_t*>(first);
  for (; count >= 4; count -= 4, out += sizeof four) std::memcpy(out, &four, sizeof four);
  for (; count != 0; --count, out += sizeof value) std::memcpy(out, &value, sizeof value);
}

}  // namespace tlr2
