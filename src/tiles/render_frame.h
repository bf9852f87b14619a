// One frame: clears, texture cache, publication, and the one job whose tasks bin and rasterise.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "records/driver_state.h"
#include "records/kernel_args.h"

namespace tlr2 {

/// What the renderer sees of a surface. Depth rows are tight; colour rows are `rowPitch` bytes apart.
struct SurfaceView {
  float* depthBuffer = nullptr;
  std::uint32_t* colorBuffer = nullptr;
  std::int32_t width = 0, height = 0;
  std::uint32_t rowPitch = 0;
};

struct RenderOptions {
  std::uint8_t binOnly = 0;       // tasks bin but call no kernel
  std::uint8_t clearIfEmpty = 1;  // with no triangles and no pending clear, fill with the clear colour
  std::int32_t cutoff = 5;        // 3: no task runs
};

/// Figures of the latest frame; all zero for a frame that drew nothing. 46 words.
struct FrameStats {
  std::int32_t requestedTasks;  // the worker limit as it counted
  std::int32_t activeTasks;
  std::uint32_t triangleCount;
  std::uint32_t participants;               // tasks that had tiles
  std::uint64_t macroTiles;                 // rasterised or passed over
  FrameBuildStats build;                    // as the frame's replay left it
  double waitMs, binMs, spareMs, rasterMs;  // summed over tasks; nothing is ever counted as spare
  double longestBinMs, longestRasterMs;     // of one task
  double prepMs;                            // before the tasks
  double workersMs;                         // wall time of the tasks
};
static_assert(sizeof(FrameStats) == 46 * 4);
static_assert(offsetof(FrameStats, build) == 24 && offsetof(FrameStats, waitMs) == 120);

/// Renders the frame's triangles into `surface`. A surface without buffers drops the pending clears and nothing else.
/// All clears come before all triangles, wherever the application issued them.
void RenderFrame(const SurfaceView& surface, const RenderOptions& options);
void RenderFrame(const SurfaceView& surface);
const FrameStats& LatestFrameStats() noexcept;
/// Writes what discovery did since the process began; nothing before the first task.
void TileDiscoveryReport(std::FILE* file);

}  // namespace tlr2
