// Filling memory with one 32-bit word.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/prefetch.h"

namespace tlr2 {

/// Stores `value` in `count` words. The string store picks the widest path of the processor at hand, which a loop
/// compiled for the vector baseline does not.
inline void FillWords(void* first, std::uint32_t value, std::size_t count) noexcept {
  __asm__ volatile("rep stosl" : "+D"(first), "+c"(count) : "a"(value) : "memory");
}

/// The same for memory on small pages that may be far: the string store waits for the translation of each page, so the
/// first line of one is asked for two pages ahead. Where pages are large or the memory is near, this takes longer.
inline void FillSmallPages(void* first, std::uint32_t value, std::size_t count) noexcept {
  constexpr std::size_t kPage = 4096;
  auto* at = static_cast<char*>(first);
  for (std::size_t words = 0; count != 0; count -= words, at += words * sizeof value) {
    words = count < kPage / sizeof value ? count : kPage / sizeof value;
    if (count > 2 * kPage / sizeof value) PrefetchToWrite(at + 2 * kPage);
    FillWords(at, value, words);
  }
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
