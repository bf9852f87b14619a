// The processor's own counter, where the system itself keeps its time by it; else the monotonic clock, a tick being a
// nanosecond.
#include "platform/clock.h"

#include <time.h>
#include <x86intrin.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace tlr2 {

namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1000000000;

std::int64_t Nanoseconds() noexcept {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::int64_t>(now.tv_sec) * kNanosecondsPerSecond + now.tv_nsec;
}

/// In fours, so that a rate stays below 2^31 a second: spans of 2^32 microseconds are computed in 64 bits.
std::int64_t Counter() noexcept { return static_cast<std::int64_t>(__rdtsc() >> 2); }

/// The system takes the counter for its clock only if it runs evenly, and alike on all processors.
bool SystemCounts() noexcept {
  std::FILE* file = std::fopen("/sys/devices/system/clocksource/clocksource0/current_clocksource", "re");
  if (file == nullptr) return false;
  char name[16] = {};
  const bool counts = std::fgets(name, sizeof name, file) != nullptr && std::strcmp(name, "tsc\n") == 0;
  std::fclose(file);
  return counts;
}

struct Moment {
  std::int64_t counter, nanoseconds;
};
/// Both clocks at nearly the same time: of some readings, the one that took least.
Moment Both() noexcept {
  Moment best = {};
  std::int64_t least = INT64_MAX;
  for (int i = 0; i < 8; ++i) {
    const std::int64_t before = Counter(), nanoseconds = Nanoseconds(), after = Counter();
    if (after - before >= least) continue;
    least = after - before;
    best = {before + (after - before) / 2, nanoseconds};
  }
  return best;
}

/// Which clock it is, and when it was asked first.
struct Clock {
  bool counts;
  Moment first;

  Clock() noexcept : counts(SystemCounts()), first(counts ? Both() : Moment{}) {}
};
const Clock& TheClock() noexcept {
  static const Clock clock;
  return clock;
}

/// The counter's rate, measured since the first reading, over so long a time that the readings' own tell in nothing.
std::int64_t MeasuredRate() noexcept {
  constexpr std::int64_t kLongEnough = 2000000;  // nanoseconds
  const Moment& first = TheClock().first;
  Moment now;
  do {
    now = Both();
  } while (now.nanoseconds - first.nanoseconds < kLongEnough);
  const double seconds = static_cast<double>(now.nanoseconds - first.nanoseconds) / kNanosecondsPerSecond;
  return static_cast<std::int64_t>(static_cast<double>(now.counter - first.counter) / seconds);
}

}  // namespace

std::int64_t TicksNow() noexcept {
  if (!TheClock().counts) return Nanoseconds();
  _mm_lfence();  // not before what precedes it
  return Counter();
}

std::int64_t TicksInPassing() noexcept { return TheClock().counts ? Counter() : Nanoseconds(); }

std::int64_t TicksPerSecond() noexcept {
  static const std::int64_t rate = TheClock().counts ? MeasuredRate() : kNanosecondsPerSecond;
  return rate;
}

}  // namespace tlr2
