// The discovery statistics of all task indices, and their report.
#include <algorithm>
#include <cstdio>

#include "tiles/discovery.h"
#include "tiles/render_frame.h"

namespace tlr2 {

TileDiscoveryStats tileDiscoveryStats[kDiscoveryRecords];

namespace {

void Add(std::atomic<std::uint64_t>& sum, std::uint64_t amount) noexcept {
  sum.store(sum.load(std::memory_order_relaxed) + amount, std::memory_order_relaxed);
}

unsigned long long Get(const std::atomic<std::uint64_t>& sum) noexcept { return sum.load(std::memory_order_relaxed); }

double Percent(unsigned long long part, unsigned long long whole) noexcept {
  return whole == 0 ? 0.0 : static_cast<double>(part) * 100.0 / static_cast<double>(whole);
}

}  // namespace

TileDiscoveryStats& DiscoveryRecord(std::int32_t taskIndex) noexcept {
  return tileDiscoveryStats[taskIndex >= 0 && taskIndex < kDiscoveryRecords ? taskIndex : 0];
}

void AddDiscovery(TileDiscoveryStats& record, std::uint32_t triangles, const DiscoveryCounts& counts) noexcept {
  Add(record.trianglesSeen, triangles);
  Add(record.pickedByBox, counts.pickedByBox);
  Add(record.pickedByList, counts.pickedByList);
  Add(record.macrosVisitedByBox, counts.macrosVisitedByBox);
  Add(record.macrosSkippedByOwner, counts.macrosSkippedByOwner);
  Add(record.macrosVisitedByList, counts.macrosVisitedByList);
  Add(record.macrosSkippedByBox, counts.macrosSkippedByBox);
  Add(record.microsConsidered, counts.microsConsidered);
  Add(record.microsEdgeRejected, counts.microsEdgeRejected);
  Add(record.microsAccepted, counts.microsAccepted);
}

void TileDiscoveryReport(std::FILE* file) {
  if (file == nullptr) return;
  int active = 0;
  unsigned long long invocations = 0, triangles = 0, byBox = 0, byList = 0, visitedByBox = 0, skippedByOwner = 0,
                     visitedByList = 0, skippedByBox = 0, considered = 0, rejected = 0, accepted = 0;
  unsigned long long least = ~0ull, most = 0;
  for (const TileDiscoveryStats& record : tileDiscoveryStats) {
    const unsigned long long runs = Get(record.invocations);
    if (runs == 0) continue;
    ++active;
    invocations += runs;
    triangles += Get(record.trianglesSeen);
    byBox += Get(record.pickedByBox);
    byList += Get(record.pickedByList);
    visitedByBox += Get(record.macrosVisitedByBox);
    skippedByOwner += Get(record.macrosSkippedByOwner);
    visitedByList += Get(record.macrosVisitedByList);
    skippedByBox += Get(record.macrosSkippedByBox);
    const unsigned long long micros = Get(record.microsConsidered);
    considered += micros;
    rejected += Get(record.microsEdgeRejected);
    accepted += Get(record.microsAccepted);
    least = std::min(least, micros);
    most = std::max(most, micros);
  }
  if (active == 0) return;
  std::fprintf(file, "\n=== Phase Q worker-side tile discovery stats ===\n");
  std::fprintf(file, "  active task partitions:      %d\n", active);
  std::fprintf(file, "  task-loop invocations:       %llu (avg %llu / task)\n", invocations,
               invocations / static_cast<unsigned long long>(active));
  std::fprintf(file, "  triangles seen (sum):        %llu\n", triangles);
  std::fprintf(file, "  triangles picked bbox-iter:  %llu\n", byBox);
  std::fprintf(file, "  triangles picked owned-list: %llu\n", byList);
  std::fprintf(file, "  macros visited (bbox-iter):  %llu  (skipped by owner %llu)\n", visitedByBox, skippedByOwner);
  std::fprintf(file, "  macros visited (owned-iter): %llu  (skipped by bbox %llu)\n", visitedByList, skippedByBox);
  std::fprintf(file, "  micros considered:           %llu\n", considered);
  std::fprintf(file, "  micros edge-rejected:        %llu (%.1f%%)\n", rejected, Percent(rejected, considered));
  std::fprintf(file, "  micros accepted (binned):    %llu (%.1f%%)\n", accepted, Percent(accepted, considered));
  std::fprintf(file, "  worker imbalance (micros):   min=%llu max=%llu max/min=%.2fx\n", least, most,
               least == 0 ? 0.0 : static_cast<double>(most) / static_cast<double>(least));
}

}  // namespace tlr2
