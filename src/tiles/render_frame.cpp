// The calling thread's part of a frame, up to the hand-over of the one job and back.
#include "tiles/render_frame.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "api/state/driver_state.h"
#include "base/fill.h"
#include "kernels/tile_kernel.h"
#include "platform/buffer_memory.h"
#include "platform/clock.h"
#include "settings/profiler.h"
#include "settings/settings.h"
#include "settings/stage_counters.h"
#include "textures/texture_cache.h"
#include "tiles/frame_tasks.h"
#include "tiles/grid/grid.h"
#include "tiles/runtime_config.h"

namespace tlr2 {
namespace {

FrameStats latestStats = {};

void ZeroAccumulators() noexcept {
  FrameAccumulators& sums = frameAccumulators;
  for (Counter64* sum :
       {&sums.wait, &sums.bin, &sums.spare, &sums.raster, &sums.longestBin, &sums.longestRaster, &sums.macroTiles})
    sum->store(0, std::memory_order_relaxed);
  sums.participants.store(0, std::memory_order_relaxed);
}

void FillBuffer(void* buffer, std::uint32_t value, std::size_t count) noexcept {
  if constexpr (kBuffersOnLargePages) {
    FillWords(buffer, value, count);
  } else {
    FillSmallPages(buffer, value, count);
  }
}

void FillColor(const SurfaceView& surface, std::uint32_t value) noexcept {
  const std::size_t width = static_cast<std::size_t>(surface.width), height = static_cast<std::size_t>(surface.height);
  if (surface.rowPitch == width * sizeof(std::uint32_t)) {
    FillBuffer(surface.colorBuffer, value, width * height);
    return;
  }
  auto* row = reinterpret_cast<std::uint8_t*>(surface.colorBuffer);
  for (std::size_t y = 0; y < height; ++y, row += surface.rowPitch) FillWords(row, value, width);
}

/// Whether the triangles are likely to touch most tiles, by the boxes of at most some hundred of them. A tile that is
/// drawn to is best cleared right before; one that is not costs less as part of the whole buffer.
bool CoversMostTiles(const SurfaceView& surface, const TriangleVector& triangles) noexcept {
  constexpr std::size_t kSamples = 256;
  const std::size_t step = (triangles.size() + kSamples - 1) / kSamples;
  const auto extent = [](const float v[3], std::int32_t size) {
    const float low = std::max(std::min({v[0], v[1], v[2]}), 0.0f);
    const float high = std::min(std::max({v[0], v[1], v[2]}), static_cast<float>(size));
    return high > low ? high - low : 0.0f;
  };
  float area = 0.0f;
  for (std::size_t i = 0; i < triangles.size(); i += step)
    area += extent(triangles[i].x, surface.width) * extent(triangles[i].y, surface.height);
  const float pixels = static_cast<float>(surface.width) * static_cast<float>(surface.height);
  return area * static_cast<float>(step) >= pixels;
}

/// Whether every pixel of the surface lies in a macro tile that a task of this frame is going to rasterise.
bool TasksReachAllPixels(const SurfaceView& surface, const DriverState& state, const RenderOptions& options) noexcept {
  return !state.triangles.empty() && options.cutoff != 3 && options.binOnly == 0 && state.fbWidth >= surface.width &&
         state.fbHeight >= surface.height;
}

/// The pending clears: all of the depth bounds at once, the pixels here or by the tasks.
TileClears StartClears(const SurfaceView& surface, DriverState& state, const RenderOptions& options) noexcept {
  const bool byTasks = TasksReachAllPixels(surface, state, options) && CoversMostTiles(surface, state.triangles);
  TileClears clears;
  if (state.pendingColorClear != 0) {
    clears.colorValue = state.pendingColorClearValue;
    clears.color = byTasks;
    if (!byTasks) FillColor(surface, clears.colorValue);
    state.pendingColorClear = 0;
  } else if (state.triangles.empty() && options.clearIfEmpty != 0) {
    FillColor(surface, state.clearColor);
  }
  if (state.pendingDepthClear != 0) {
    std::memcpy(&clears.depthBits, &state.pendingDepthClearValue, sizeof clears.depthBits);
    clears.depth = byTasks;
    if (!byTasks) {
      FillBuffer(surface.depthBuffer, clears.depthBits,
                 static_cast<std::size_t>(surface.width) * static_cast<std::size_t>(surface.height));
    }
    FillWords(state.hizTable.data(), clears.depthBits, state.hizTable.size());
    state.pendingDepthClear = 0;
  }
  return clears;
}

void RunTasks(const SurfaceView& surface, std::int32_t tasks, FrameTaskContext& context) {
  RJQ::JobRange range = {};
  range.user[0] = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(surface.colorBuffer));
  range.user[1] = static_cast<std::uint32_t>(surface.width);
  range.user[2] = static_cast<std::uint32_t>(surface.height);
  range.user[3] = surface.rowPitch;
  range.taskCount = tasks;
  if (RJQ::RenderJobQueue* pool = RJQ::Pool(); pool != nullptr) {
    RJQ::Enqueue(*pool, RJQ::kTaskJob, range, WorkerLoopEntry, &context);
    RJQ::WaitIdle(*pool);
  } else {
    for (std::int32_t task = 0; task < tasks; ++task) WorkerLoopEntry(&range, task, &context);
  }
}

double Milliseconds(std::uint64_t ticks) noexcept {
  return static_cast<double>(ticks) * 1000.0 / static_cast<double>(TicksPerSecond());
}

double Milliseconds(const Counter64& ticks) noexcept { return Milliseconds(ticks.load(std::memory_order_relaxed)); }

void RecordStats(const DriverState& state, const TaskCount& count, std::uint64_t prepTicks,
                 std::uint64_t workerTicks) noexcept {
  const FrameAccumulators& sums = frameAccumulators;
  FrameStats& stats = latestStats;
  stats.requestedTasks = count.requested;
  stats.activeTasks = count.tasks;
  stats.triangleCount = state.publishedTriangleCount;
  stats.participants = sums.participants.load(std::memory_order_relaxed);
  stats.macroTiles = sums.macroTiles.load(std::memory_order_relaxed);
  stats.build = state.buildStats;
  stats.waitMs = Milliseconds(sums.wait);
  stats.binMs = Milliseconds(sums.bin);
  stats.spareMs = Milliseconds(sums.spare);
  stats.rasterMs = Milliseconds(sums.raster);
  stats.longestBinMs = Milliseconds(sums.longestBin);
  stats.longestRasterMs = Milliseconds(sums.longestRaster);
  stats.prepMs = Milliseconds(prepTicks);
  stats.workersMs = Milliseconds(workerTicks);
}

}  // namespace

TaskCount CountTasks(std::int32_t poolSize, std::int32_t workerLimit, std::int32_t macroTiles) noexcept {
  const std::int32_t limit = workerLimit == 0 || workerLimit > poolSize ? poolSize : workerLimit;
  const std::int32_t tasks = std::max(limit, 1);
  return {limit, macroTiles >= 1 ? std::min(tasks, macroTiles) : tasks};
}

void RenderFrameWith(const SurfaceView& surface, const RenderOptions& options, const FrameOverrides& overrides) {
  const ScopeTimer scope("tlr2::RenderFrame");
  DriverState& state = DriverStateInstance();
  ZeroAccumulators();
  const std::int64_t start = TicksNow();
  latestStats = FrameStats{};

  if (surface.colorBuffer == nullptr || surface.depthBuffer == nullptr || surface.width < 1 || surface.height < 1) {
    state.pendingColorClear = 0;
    state.pendingDepthClear = 0;
    return;
  }
  const TileClears clears = StartClears(surface, state, options);
  if (state.triangles.empty()) return;

  std::vector<TextureCacheEntry> cache;  // the one allocation of a steady frame
  BuildTextureCache(state, cache);

  FrameTaskContext context = {};
  context.surface = &surface;
  context.macroCols = state.macroCols;
  context.macroRows = state.macroRows;
  context.microCols = state.microCols;
  context.microRows = state.microRows;
  context.textureCacheVector = &cache;
  context.kernelArgs.colorStrideBytes = surface.rowPitch;
  context.kernelArgs.colorPixels = surface.colorBuffer;
  context.kernelArgs.depthPixels = surface.depthBuffer;
  context.kernelArgs.depthStrideBytes = static_cast<std::uint32_t>(surface.width) * 4;
  context.kernelArgs.triangles = state.triangles.data();
  context.kernelArgs.textureCache = cache.data();
  context.kernelArgs.textureCacheCount = static_cast<std::uint32_t>(cache.size());
  context.kernelArgs.kernelMode = Settings().kernelMode;
  context.kernel =
      overrides.kernel != nullptr ? overrides.kernel : KernelForTarget(ResolveForcedIsa(Settings().forceIsa));
  context.clearingKernel = ClearingForm(context.kernel);
  context.options = &options;
  context.clears = clears;

  state.publishedTriangleCount = static_cast<std::uint32_t>(state.triangles.size());
  __atomic_store_n(&state.trianglesPublished, std::uint8_t{1}, __ATOMIC_RELEASE);

  const RJQ::RenderJobQueue* pool = RJQ::Pool();
  const auto macroTiles = static_cast<std::int32_t>(MacroTileCount(state));
  TaskCount count = CountTasks(pool != nullptr ? RJQ::WorkerCount(pool) : 1, Settings().workerLimit, macroTiles);
  if (overrides.taskCount > 0) count.tasks = overrides.taskCount;
  RebuildWorkerTilePartition(state, count.tasks);
  PlaceTileLists(state);

  const std::uint64_t prepTicks = static_cast<std::uint64_t>(TicksNow() - start);
  StageAdd(6, prepTicks, 1);
  std::uint64_t workerTicks = 0;
  if (options.cutoff != 3) {
    const std::int64_t workersStart = TicksNow();
    state.listsFilled = 1;
    RunTasks(surface, count.tasks, context);
    workerTicks = static_cast<std::uint64_t>(TicksNow() - workersStart);
    StageAdd(7, workerTicks, 1);
  }
  RecordStats(state, count, prepTicks, workerTicks);
}

void RenderFrame(const SurfaceView& surface, const RenderOptions& options) { RenderFrameWith(surface, options, {}); }

void RenderFrame(const SurfaceView& surface) { RenderFrameWith(surface, RenderOptions{}, {}); }

const FrameStats& LatestFrameStats() noexcept { return latestStats; }

}  // namespace tlr2
