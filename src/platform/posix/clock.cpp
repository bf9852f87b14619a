// The monotonic clock: a tick is a nanosecond.
#include "platform/clock.h"

#include <time.h>

namespace tlr2 {

namespace {
constexpr std::int64_t kNanosecondsPerSecond = 1000000000;
}

std::int64_t TicksNow() noexcept {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::int64_t>(now.tv_sec) * kNanosecondsPerSecond + now.tv_nsec;
}

std::int64_t TicksPerSecond() noexcept { return kNanosecondsPerSecond; }

}  // namespace tlr2
