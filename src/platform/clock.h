// The performance counter.
#pragma once

#include <cstdint>

namespace tlr2 {

/// Monotonic ticks.
std::int64_t TicksNow() noexcept;
/// Ticks a second, read once and kept; above 0.
std::int64_t TicksPerSecond() noexcept;

/// The processor's own counter. It costs a tenth of a reading of the clock and less, as it waits for nothing; but what
/// one count is nobody tells, so it is good for proportions alone. Not even its order is sure: a thread may be moved.
inline std::uint64_t ProcessorCounter() noexcept { return __builtin_ia32_rdtsc(); }

}  // namespace tlr2
