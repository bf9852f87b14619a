// Triangle discovery: which of a frame's triangles touch the macro tiles of one task, and into which micro tiles' lists
// they go. Every task runs it over all triangles, so that there are no shared bins and no barrier.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "records/driver_state.h"

namespace tlr2 {

/// One task's share of the tile grid.
struct DiscoveryGrid {
  std::int32_t fbWidth, fbHeight;
  std::int32_t microCols, microRows, macroCols, macroRows;
  const std::uint16_t* macroOwner;
  const std::int32_t* partition;  // the macro tiles that the task owns
  std::int32_t partitionSize;
  std::int32_t taskIndex;
  const std::uint32_t* listPlaces;  // of each macro tile, where its lists lie
  TileEntryList* lists;             // of all micro tiles; only the owned ones are touched
};

/// What one discovery did.
struct DiscoveryCounts {
  std::uint64_t pickedByBox, pickedByList;
  std::uint64_t macrosVisitedByBox, macrosSkippedByOwner;
  std::uint64_t macrosVisitedByList, macrosSkippedByBox;
  std::uint64_t microsConsidered, microsEdgeRejected, microsAccepted;
};

DiscoveryGrid MakeDiscoveryGrid(DriverState& state, std::int32_t taskIndex) noexcept;

/// Appends to the lists the indices, in order, of those of the `count` triangles that may touch an owned micro tile;
/// adds what it did to `counts`.
void DiscoverTriangles(const DiscoveryGrid& grid, const TriangleRecord* triangles, std::uint32_t count,
                       DiscoveryCounts& counts);

/// Sums of one task index over the life of the process. A task adds its own figures when it has them all; relaxed
/// loads and stores, because indices past the table share record 0, where sums may be lost but no word is torn.
struct alignas(128) TileDiscoveryStats {
  std::atomic<std::uint64_t> invocations, trianglesSeen;
  std::atomic<std::uint64_t> pickedByBox, pickedByList;
  std::atomic<std::uint64_t> macrosVisitedByBox, macrosSkippedByOwner;
  std::atomic<std::uint64_t> macrosVisitedByList, macrosSkippedByBox;
  std::atomic<std::uint64_t> microsConsidered, microsEdgeRejected, microsAccepted;
};
static_assert(sizeof(TileDiscoveryStats) == 128);
static_assert(offsetof(TileDiscoveryStats, microsAccepted) == 80);

inline constexpr std::int32_t kDiscoveryRecords = 2048;
extern TileDiscoveryStats tileDiscoveryStats[kDiscoveryRecords];

/// The record of a task index; 0 for an index past the table.
TileDiscoveryStats& DiscoveryRecord(std::int32_t taskIndex) noexcept;
void AddDiscovery(TileDiscoveryStats& record, std::uint32_t triangles, const DiscoveryCounts& counts) noexcept;

}  // namespace tlr2
