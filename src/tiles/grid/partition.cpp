// The deal of macro tiles to a frame's tasks: scattered over the screen by a fixed shuffle, sizes equal but for one.
#include <algorithm>
#include <utility>

#include "settings/profiler.h"
#include "tiles/grid/grid.h"

namespace tlr2 {
namespace {

/// What rebuilding reuses. Every replay deals to one task and every render to all, so a frame rebuilds twice: the
/// shuffle is kept for its tile count, and partitions that a smaller deal drops wait here with their storage. Only the
/// thread that builds or renders the frame comes here.
struct DealStore {
  GrowingVector<std::int32_t> order;
  std::vector<WorkerPartition> spare;
};
DealStore dealStore;

/// The same count always gives the same order.
void ShuffleTiles(GrowingVector<std::int32_t>& order, std::size_t count) {
  order.clear();
  std::int32_t* tiles = order.GrowUninitialized(count);
  for (std::size_t i = 0; i < count; ++i) tiles[i] = static_cast<std::int32_t>(i);
  std::uint64_t x = 0x9E3779B97F4A7C15u;
  for (std::size_t i = count; i >= 2; --i) {
    x ^= x << 13;
    x ^= x >> 7;
    x ^= x << 17;
    std::swap(tiles[x % i], tiles[i - 1]);
  }
}

void SetPartitionCount(std::vector<WorkerPartition>& partitions, std::size_t count) {
  std::vector<WorkerPartition>& spare = dealStore.spare;
  while (partitions.size() > count) {
    spare.push_back(std::move(partitions.back()));
    partitions.pop_back();
  }
  while (partitions.size() < count) {
    if (spare.empty()) {
      partitions.emplace_back();
    } else {
      partitions.push_back(std::move(spare.back()));
      spare.pop_back();
    }
  }
}

}  // namespace

std::size_t MacroTileCount(const DriverState& state) noexcept {
  if (state.macroCols <= 0 || state.macroRows <= 0) return 0;
  return static_cast<std::size_t>(state.macroCols) * static_cast<std::size_t>(state.macroRows);
}

void RebuildWorkerTilePartition(DriverState& state, std::int32_t taskCount) {
  const ScopeTimer scope("tlr2::RebuildWorkerTilePartition");
  const auto n = static_cast<std::size_t>(std::max(taskCount, 1));
  const std::size_t tiles = MacroTileCount(state);
  if (state.partitions.size() == n) {
    std::size_t dealt = 0;
    for (const WorkerPartition& partition : state.partitions) dealt += partition.size();
    if (dealt == tiles) return;
  }
  if (dealStore.order.size() != tiles) ShuffleTiles(dealStore.order, tiles);
  SetPartitionCount(state.partitions, n);
  state.macroOwner.clear();
  state.macroOwner.GrowUninitialized(tiles);  // every tile is dealt below

  const std::size_t share = tiles / n, rest = tiles % n;
  const std::int32_t* next = dealStore.order.data();
  for (std::size_t w = 0; w < n; ++w) {
    const std::size_t count = share + (w < rest ? 1 : 0);
    WorkerPartition& partition = state.partitions[w];
    partition.clear();
    partition.append(next, count);
    for (std::size_t i = 0; i < count; ++i) {
      state.macroOwner[static_cast<std::size_t>(next[i])] = static_cast<std::uint16_t>(w);
    }
    next += count;
  }
}

}  // namespace tlr2
