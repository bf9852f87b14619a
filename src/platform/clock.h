// The performance counter.
#pragma once

#include <cstdint>

namespace tlr2 {

/// Monotonic ticks.
std::int64_t TicksNow() noexcept;
/// The same without waiting for what precedes it to be done, where the clock can be read so: it may lie as much too
/// early as the processor works ahead, even before an earlier reading.
std::int64_t TicksInPassing() noexcept;
/// Ticks a second, read once and kept; above 0.
std::int64_t TicksPerSecond() noexcept;

}  // namespace tlr2
