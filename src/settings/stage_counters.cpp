// Stage timing sums and their switch.
#include "settings/stage_counters.h"

namespace tlr2 {

namespace {
constinit StageCounters stageCounters{};
}

namespace detail {
constinit std::atomic<std::uint8_t> stageTimingEnabled{0};
}

void SetStageTiming(bool enabled) noexcept {
  detail::stageTimingEnabled.store(enabled ? 1 : 0, std::memory_order_relaxed);
}

StageCounters& StageCountersInstance() noexcept { return stageCounters; }

void StageAdd(int stage, std::uint64_t ticks, std::uint64_t count) noexcept {
  if (!StageTimingEnabled() || stage < 0 || stage >= kStageCount) return;
  CounterAdd(stageCounters.ticks[stage], ticks);
  CounterAdd(stageCounters.counts[stage], count);
}

}  // namespace tlr2
