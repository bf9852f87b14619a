// The performance counter.
#include "platform/clock.h"

#include <windows.h>

#include <atomic>

namespace tlr2 {

std::int64_t TicksNow() noexcept {
  LARGE_INTEGER now;
  QueryPerformanceCounter(&now);
  return now.QuadPart;
}

std::int64_t TicksPerSecond() noexcept {
  static constinit std::atomic<std::int64_t> kept{0};
  std::int64_t frequency = kept.load(std::memory_order_relaxed);
  if (frequency == 0) {
    LARGE_INTEGER read;
    QueryPerformanceFrequency(&read);
    frequency = read.QuadPart;
    kept.store(frequency, std::memory_order_relaxed);  // every thread reads the same value
  }
  return frequency;
}

}  // namespace tlr2
