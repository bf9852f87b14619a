// Occupancy statistics: all counters are atomic, since every task of every frame adds to them.
#include "settings/occupancy.h"

#include "base/atomic64.h"
#include "platform/clock.h"

namespace tlr2 {

namespace {

constexpr int kHistogramSize = 256;

struct OccupancyStats {
  std::atomic<std::int32_t> live;
  Counter64 totalWorkNs;
  Counter64 totalTileEntries;
  Counter64 histogram[kHistogramSize];
};
constinit OccupancyStats stats{};

constexpr std::int64_t kNanosecondsPerSecond = 1000000000;

/// Whole seconds and the rest apart, so that long spans do not overflow.
std::uint64_t TicksToNanoseconds(std::int64_t ticks) noexcept {
  const std::int64_t frequency = TicksPerSecond();
  return static_cast<std::uint64_t>(ticks / frequency * kNanosecondsPerSecond +
                                    ticks % frequency * kNanosecondsPerSecond / frequency);
}

unsigned long long Read(const Counter64& counter) noexcept { return counter.load(std::memory_order_relaxed); }

}  // namespace

std::int64_t OccupancyEnter() noexcept {
  std::int32_t live = stats.live.fetch_add(1, std::memory_order_relaxed) + 1;
  if (live < 0) live = 0;
  if (live > kHistogramSize - 1) live = kHistogramSize - 1;
  CounterAdd(stats.histogram[live], 1);
  CounterAdd(stats.totalTileEntries, 1);
  return TicksNow();
}

void OccupancyLeave(std::int64_t startTicks) noexcept {
  const std::int64_t elapsed = TicksNow() - startTicks;
  if (elapsed > 0) CounterAdd(stats.totalWorkNs, TicksToNanoseconds(elapsed));
  stats.live.fetch_sub(1, std::memory_order_relaxed);
}

void OccupancyReport(std::FILE* file) {
  if (file == nullptr) return;
  const unsigned long long workNs = Read(stats.totalWorkNs), entries = Read(stats.totalTileEntries);
  std::fputs("\n=== Occupancy (TLR2 RJQ tile scheduling) ===\n", file);
  std::fprintf(file, "total_work_ns=%llu  total_tile_entries=%llu\n", workNs, entries);
  if (entries != 0)
    std::fprintf(file, "avg_us_per_tile=%.2f\n", static_cast<double>(workNs) / static_cast<double>(entries) / 1000.0);

  unsigned long long histogram[kHistogramSize], sum = 0;
  int top = 0;
  for (int n = 0; n < kHistogramSize; ++n) {
    histogram[n] = Read(stats.histogram[n]);
    sum += histogram[n];
    if (histogram[n] != 0) top = n;
  }
  std::fputs("\nHistogram of tile-entry moments by simultaneous workers:\n", file);
  std::fputs("  (N = # workers live when this tile entered, inclusive of self)\n", file);
  // A count at 0 (the live count wrapped) stays in the sum and has no line.
  for (int n = 1; n <= top; ++n) {
    if (histogram[n] == 0) continue;
    std::fprintf(file, "  N=%3d : %12llu  (%5.2f %%)\n", n, histogram[n],
                 sum == 0 ? 0.0 : static_cast<double>(histogram[n]) * 100.0 / static_cast<double>(sum));
  }
}

}  // namespace tlr2
