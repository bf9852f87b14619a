// How many tasks were live when each task began, and how long tasks worked.
#pragma once

#include <cstdint>
#include <cstdio>

namespace tlr2 {

/// Counts a task in; returns its start ticks for OccupancyLeave.
std::int64_t OccupancyEnter() noexcept;
void OccupancyLeave(std::int64_t startTicks) noexcept;
void OccupancyReport(std::FILE* file);

}  // namespace tlr2
