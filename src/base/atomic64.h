// 64-bit shared counters. The 32-bit target has no locked 64-bit add, so a sum is a compare-and-swap loop on all 64
// bits. The order is relaxed: a counter publishes nothing but itself.
#pragma once

#include <atomic>
#include <cstdint>

namespace tlr2 {

using Counter64 = std::atomic<std::uint64_t>;
static_assert(sizeof(Counter64) == 8);

inline void CounterAdd(Counter64& counter, std::uint64_t amount) noexcept {
  std::uint64_t seen = counter.load(std::memory_order_relaxed);
  while (!counter.compare_exchange_weak(seen, seen + amount, std::memory_order_relaxed, std::memory_order_relaxed)) {
  }
}

inline void CounterRaise(Counter64& counter, std::uint64_t value) noexcept {
  std::uint64_t seen = counter.load(std::memory_order_relaxed);
  while (seen < value &&
         !counter.compare_exchange_weak(seen, value, std::memory_order_relaxed, std::memory_order_relaxed)) {
  }
}

}  // namespace tlr2
