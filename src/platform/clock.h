// The performance counter.
#pragma once

#include <cstdint>

namespace tlr2 {

/// Monotonic ticks.
std::int64_t TicksNow() noexcept;
/// Ticks a second, read once and kept; above 0.
std::int64_t TicksPerSecond() noexcept;

}  // namespace tlr2
