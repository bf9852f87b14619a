// Filling memory with one 32-bit word.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tlr2 {

/// Stores `value` in `count` words. The string store picks the widest path of the processor at hand, which a loop
/// compiled for the vector baseline does not.
inline void FillWords(void* first, std::uint32_t value, std::size_t count) noexcept {
  __asm__ volatile("rep stosl" : "+D"(first), "+c"(count) : "a"(value) : "memory");
}

}  // namespace tlr2
