// 64-bit shared counters. The 32-bit target has no locked 64-bit add, so there a sum is a compare-and-swap loop on all
// 64 bits. The order is relaxed: a counter publishes nothing but itself.
#pragma once

#include <atomic>
#include <cstdint>

namespace tlr2 {

using Counter64 = std::atomic<std::uint64_t>;
static_assert(sizeof(Counter64) == 8);

inline void CounterAdd(Counter64& counter, std::uint64_t amount) noexcept {
#if UINTPTR_MAX == 0xFFFFFFFFu
  // By hand: compilers take the sum through the stack on its way to the exchange. The first guess is read as two words
  // and may be torn: then the exchange fails and brings the true value.
  auto* const words = reinterpret_cast<std::uint32_t*>(&counter);
  __asm__ volatile(
      "movl %[low], %%eax\n\t"
      "movl %[high], %%edx\n"
      "1:\n\t"
      "movl %%eax, %%ebx\n\t"
      "movl %%edx, %%ecx\n\t"
      "addl %[amountLow], %%ebx\n\t"
      "adcl %[amountHigh], %%ecx\n\t"
      "lock cmpxchg8b %[low]\n\t"
      "jne 1b"
      : [low] "+m"(words[0]), [high] "+m"(words[1])
      : [amountLow] "g"(static_cast<std::uint32_t>(amount)), [amountHigh] "g"(static_cast<std::uint32_t>(amount >> 32))
      : "eax", "ebx", "ecx", "edx", "cc");
#else
  counter.fetch_add(amount, std::memory_order_relaxed);
#endif
}

inline void CounterRaise(Counter64& counter, std::uint64_t value) noexcept {
  std::uint64_t seen = counter.load(std::memory_order_relaxed);
  while (seen < value &&
         !counter.compare_exchange_weak(seen, value, std::memory_order_relaxed, std::memory_order_relaxed)) {
  }
}

}  // namespace tlr2
