// One task of a frame: it finds the triangles that touch its own macro tiles, then rasterises these tiles. It shares
// nothing with the other tasks while it runs.
#include <algorithm>
#include <cstddef>

#include "api/state/driver_state.h"
#include "base/fill.h"
#include "base/prefetch.h"
#include "platform/clock.h"
#include "platform/thread.h"
#include "settings/occupancy.h"
#include "settings/profiler.h"
#include "settings/stage_counters.h"
#include "tiles/discovery.h"
#include "tiles/frame_tasks.h"

namespace tlr2 {

FrameAccumulators frameAccumulators;

namespace {

constexpr std::size_t kLine = 64;  // bytes of a cache line

std::uint64_t Span(std::int64_t from, std::int64_t to) noexcept { return static_cast<std::uint64_t>(to - from); }

/// A macro tile's micro tiles and their lists, which lie row by row.
struct MacroTile {
  std::int32_t microX0, microY0, microX1, microY1;
  TileEntryList* lists;

  std::int32_t Count() const noexcept { return (microX1 - microX0) * (microY1 - microY0); }
  TileEntryList& List(std::int32_t microX, std::int32_t microY) const noexcept {
    return lists[(microY - microY0) * (microX1 - microX0) + microX - microX0];
  }
};

/// Empty below the grid, where no lists are.
MacroTile FindMacroTile(DriverState& state, const FrameTaskContext& frame, std::int32_t tile) noexcept {
  const std::int32_t macroY = tile / frame.macroCols, macroX = tile % frame.macroCols;
  if (macroY >= frame.macroRows) return MacroTile{};
  return {macroX * 4, macroY * 4, std::min(macroX * 4 + 4, frame.microCols), std::min(macroY * 4 + 4, frame.microRows),
          state.tileLists.data() + state.listPlaces.first[static_cast<std::size_t>(tile)]};
}

/// The micro tile's place among the depth bounds.
std::size_t BoundIndex(const FrameTaskContext& frame, std::int32_t microX, std::int32_t microY) noexcept {
  return static_cast<std::size_t>(microY) * static_cast<std::size_t>(frame.microCols) +
         static_cast<std::size_t>(microX);
}

/// Empties the lists of the owned tiles, so that a second render of the same triangles does not double them.
void EmptyLists(DriverState& state, const FrameTaskContext& frame, const WorkerPartition& partition) noexcept {
  for (const std::int32_t tile : partition) {
    const MacroTile macro = FindMacroTile(state, frame, tile);
    for (std::int32_t i = 0; i < macro.Count(); ++i) macro.lists[i].clear();
  }
}

bool Any(const TileClears& clears) noexcept { return clears.color || clears.depth; }

/// Fills what the surface has of a micro tile.
void ClearMicroTile(const SurfaceView& surface, const TileClears& clears, std::int32_t microX,
                    std::int32_t microY) noexcept {
  const std::int32_t x0 = microX * 8, y0 = microY * 8;
  const std::int32_t x1 = std::min(x0 + 8, surface.width), y1 = std::min(y0 + 8, surface.height);
  if (x0 >= x1) return;
  const auto left = static_cast<std::size_t>(x0), count = static_cast<std::size_t>(x1 - x0);
  for (std::int32_t y = y0; y < y1; ++y) {
    const auto row = static_cast<std::size_t>(y);
    if (clears.color) {
      auto* pixels = reinterpret_cast<std::uint8_t*>(surface.colorBuffer) + row * surface.rowPitch;
      FillShortRow(pixels + left * 4, clears.colorValue, count);
    }
    if (clears.depth) {
      float* depth = surface.depthBuffer + row * static_cast<std::size_t>(surface.width);
      FillShortRow(depth + left, clears.depthBits, count);
    }
  }
}

/// Clears what kernels do not clear: the micro tiles that nothing is drawn into, or all of them where the kernel has no
/// clearing form. Returns whether there was any.
bool ClearAhead(const FrameTaskContext& frame, const MacroTile& macro) noexcept {
  bool any = false;
  for (std::int32_t y = macro.microY0; y < macro.microY1; ++y) {
    for (std::int32_t x = macro.microX0; x < macro.microX1; ++x) {
      if (frame.clearingKernel != nullptr && !macro.List(x, y).empty()) continue;
      ClearMicroTile(*frame.surface, frame.clears, x, y);
      any = true;
    }
  }
  return any;
}

/// Asks for what FetchMicroTile reads of a macro tile, and for its depth bounds.
void FetchMacroTile(const DriverState& state, const FrameTaskContext& frame, const MacroTile& macro) noexcept {
  const auto* lists = reinterpret_cast<const char*>(macro.lists);
  const std::size_t bytes = static_cast<std::size_t>(macro.Count()) * sizeof(TileEntryList);
  for (std::size_t at = 0; at < bytes; at += kLine) __builtin_prefetch(lists + at);
  for (std::int32_t y = macro.microY0; y < macro.microY1; ++y)
    PrefetchToWrite(state.hizTable.data() + BoundIndex(frame, macro.microX0, y));
}

/// Asks for what a micro tile of the task will touch, so that its lines are near when its turn comes: its rows lie
/// whole pages apart, which no hardware prefetcher foresees. Pixels are asked for as lines to write: they are, and what
/// the last frame's readers left shared would have to be asked for again at the first store.
void FetchMicroTile(const FrameTaskContext& frame, const MacroTile& macro, std::int32_t microX,
                    std::int32_t microY) noexcept {
  const TileEntryList& list = macro.List(microX, microY);
  if (list.empty() && !Any(frame.clears)) return;
  __builtin_prefetch(list.data());
  const SurfaceView& surface = *frame.surface;
  const std::int32_t x0 = microX * 8, y0 = microY * 8, y1 = std::min(y0 + 8, surface.height);
  if (x0 >= surface.width) return;
  for (std::int32_t y = y0; y < y1; ++y) {
    const auto row = static_cast<std::size_t>(y), left = static_cast<std::size_t>(x0);
    PrefetchToWrite(reinterpret_cast<const char*>(surface.colorBuffer) + row * surface.rowPitch + left * 4);
    PrefetchToWrite(surface.depthBuffer + row * static_cast<std::size_t>(surface.width) + left);
  }
}

bool AllEmpty(const MacroTile& macro) noexcept {
  return std::all_of(macro.lists, macro.lists + macro.Count(), [](const TileEntryList& list) { return list.empty(); });
}

void RenderMacroTile(DriverState& state, const FrameTaskContext& frame, const MacroTile& macro, const MacroTile& next,
                     DividedScopes& microScopes) {
  const bool clears = Any(frame.clears);
  if (!clears && AllEmpty(macro)) {
    microScopes.EndEmpty(static_cast<std::uint64_t>(macro.Count()));
    return;
  }
  if (clears && ClearAhead(frame, macro)) microScopes.Skip();  // its time is the macro tile's own
  FetchMacroTile(state, frame, next);
  // The grid can be larger than the surface, when a viewport was set without a context.
  const std::int32_t width = std::min(state.fbWidth, frame.surface->width);
  const std::int32_t height = std::min(state.fbHeight, frame.surface->height);
  for (std::int32_t microY = macro.microY0; microY < macro.microY1; ++microY) {
    for (std::int32_t microX = macro.microX0; microX < macro.microX1; ++microX) {
      if (microY + 1 < macro.microY1) {
        FetchMicroTile(frame, macro, microX, microY + 1);
      } else {
        const std::int32_t nextX = next.microX0 + microX - macro.microX0;
        if (nextX < next.microX1) FetchMicroTile(frame, next, nextX, next.microY0);
      }
      const TileEntryList& list = macro.List(microX, microY);
      const std::int32_t x0 = microX * 8, y0 = microY * 8;
      if (list.empty() || x0 >= width || y0 >= height) {
        microScopes.EndEmpty();
        continue;
      }
      const std::int32_t x1 = std::min(x0 + 8, width), y1 = std::min(y0 + 8, height);
      const auto count = static_cast<std::int32_t>(list.size());
      float* bound = &state.hizTable[BoundIndex(frame, microX, microY)];
      if (clears && frame.clearingKernel != nullptr) {
        frame.clearingKernel(&frame.kernelArgs, x0, y0, x1, y1, list.data(), count, bound, &frame.clears);
      } else {
        frame.kernel(&frame.kernelArgs, x0, y0, x1, y1, list.data(), count, bound);
      }
      microScopes.End();
    }
  }
  microScopes.Settle();
}

/// Rasterises the tiles of the partition, in its order; returns how many.
std::uint64_t RenderMacroTiles(DriverState& state, const FrameTaskContext& frame, const WorkerPartition& partition) {
  std::int64_t mark = ProfileMark();
  ScopeSeries macroScopes("tlr2::RenderMacroTile", mark);
  DividedScopes microScopes("tlr2::RasterizeTile", mark);
  std::uint64_t macroTiles = 0;
  for (std::size_t i = 0; i < partition.size(); ++i) {
    if (partition[i] / frame.macroCols >= frame.macroRows) continue;
    ++macroTiles;
    const MacroTile next = i + 1 < partition.size() ? FindMacroTile(state, frame, partition[i + 1]) : MacroTile{};
    RenderMacroTile(state, frame, FindMacroTile(state, frame, partition[i]), next, microScopes);
    macroScopes.EndAtMark();
  }
  return macroTiles;
}

std::uint64_t CountMacroTiles(const FrameTaskContext& frame, const WorkerPartition& partition) noexcept {
  std::uint64_t macroTiles = 0;
  for (const std::int32_t tile : partition) macroTiles += tile / frame.macroCols < frame.macroRows ? 1 : 0;
  return macroTiles;
}

}  // namespace

void WorkerLoopEntry(const RJQ::JobRange* /*range*/, std::int32_t taskIndex, void* context) {
  const ScopeTimer scope("tlr2::WorkerLoopEntry");
  DriverState& state = DriverStateInstance();
  const auto& frame = *static_cast<const FrameTaskContext*>(context);
  if (taskIndex < 0 || static_cast<std::size_t>(taskIndex) >= state.partitions.size()) return;
  const WorkerPartition& partition = state.partitions[static_cast<std::size_t>(taskIndex)];
  if (partition.empty()) return;

  const std::int64_t occupancyStart = OccupancyEnter();
  const bool binOnly = frame.options != nullptr && frame.options->binOnly != 0;

  const std::int64_t waitStart = TicksNow();
  // Set before the job was enqueued. The queue's hand-over orders it; the word is read afresh in case it did not.
  while (__atomic_load_n(&state.trianglesPublished, __ATOMIC_ACQUIRE) == 0) SpinPause();
  const std::int64_t waitEnd = TicksNow();

  const std::uint32_t count = state.publishedTriangleCount;
  TileDiscoveryStats& record = DiscoveryRecord(taskIndex);
  record.invocations.store(record.invocations.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  EmptyLists(state, frame, partition);
  const std::int64_t binStart = TicksNow();
  DiscoveryCounts counts = {};
  DiscoverTriangles(MakeDiscoveryGrid(state, taskIndex), state.triangles.data(), count, counts);
  AddDiscovery(record, count, counts);

  const std::int64_t rasterStart = TicksNow();
  const std::uint64_t macroTiles =
      binOnly ? CountMacroTiles(frame, partition) : RenderMacroTiles(state, frame, partition);
  const std::int64_t end = TicksNow();

  const std::uint64_t binTicks = Span(binStart, rasterStart), rasterTicks = Span(rasterStart, end);
  StageAdd(8, binTicks, 1);
  StageAdd(9, rasterTicks, 1);
  CounterAdd(frameAccumulators.macroTiles, macroTiles);
  CounterAdd(frameAccumulators.wait, Span(waitStart, waitEnd));
  CounterAdd(frameAccumulators.bin, binTicks);
  CounterAdd(frameAccumulators.spare, 0);
  CounterAdd(frameAccumulators.raster, rasterTicks);
  CounterRaise(frameAccumulators.longestBin, binTicks);
  CounterRaise(frameAccumulators.longestRaster, rasterTicks);
  frameAccumulators.participants.fetch_add(1, std::memory_order_relaxed);
  OccupancyLeave(occupancyStart);
}

}  // namespace tlr2
