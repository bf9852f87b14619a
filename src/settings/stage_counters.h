// Stage timing: ten tick sums and counts, zero unless a tool turns the timing on.
#pragma once

#include <atomic>
#include <cstdint>

#include "base/atomic64.h"

namespace tlr2 {

// 0 to 5: front end and emission (0 End records, 1 interpreter, 2 emission, 3 transform, 4 clipping, 5 set-up);
// 6 RenderFrame prep, 7 the workers' wall time, 8 a task's binning, 9 a task's rasterising.
inline constexpr int kStageCount = 10;

struct StageCounters {
  Counter64 ticks[kStageCount];
  Counter64 counts[kStageCount];
};

namespace detail {
extern std::atomic<std::uint8_t> stageTimingEnabled;
}
inline bool StageTimingEnabled() noexcept { return detail::stageTimingEnabled.load(std::memory_order_relaxed) != 0; }
void SetStageTiming(bool enabled) noexcept;
StageCounters& StageCountersInstance() noexcept;
/// Adds to `stage` when timing is on and the stage exists.
void StageAdd(int stage, std::uint64_t ticks, std::uint64_t count) noexcept;

}  // namespace tlr2
