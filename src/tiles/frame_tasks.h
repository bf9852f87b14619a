// What the tasks of one frame share: the record that they all read, and the sums that they all add to.
#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "base/atomic64.h"
#include "records/driver_state.h"
#include "records/kernel_args.h"
#include "tiles/queue/render_job_queue.h"
#include "tiles/render_frame.h"

namespace tlr2 {

/// Lives on the stack of RenderFrame for the length of the job; read-only while tasks run.
struct FrameTaskContext {
  const SurfaceView* surface;
  std::int32_t macroCols, macroRows, microCols, microRows;
  const std::vector<TextureCacheEntry>* textureCacheVector;
  KernelFrameArgs kernelArgs;
  TileKernelFn kernel;
  ClearingTileKernelFn clearingKernel;  // the kernel's; null where it has none
  const RenderOptions* options;
  TileClears clears;  // left to the tasks, each of which clears its own macro tiles
};

/// Ticks unless said otherwise. Zeroed at the start of each frame.
struct FrameAccumulators {
  Counter64 wait, bin, spare, raster;
  Counter64 longestBin, longestRaster;
  Counter64 macroTiles;  // a count
  std::atomic<std::uint32_t> participants;
};
extern FrameAccumulators frameAccumulators;

/// How many tasks a frame has. `requested` is the worker limit as it counts.
struct TaskCount {
  std::int32_t requested, tasks;
};
/// A limit of 0 or above `poolSize` is the full pool; never more tasks than macro tiles, never fewer than 1.
TaskCount CountTasks(std::int32_t poolSize, std::int32_t workerLimit, std::int32_t macroTiles) noexcept;

/// The job's function: discovery, then the kernels, for the partition of `taskIndex`.
void WorkerLoopEntry(const RJQ::JobRange* range, std::int32_t taskIndex, void* context);

/// Replaces parts of a frame, for tests and tools: a kernel of their own, a task count that the machine's processors
/// do not bound.
struct FrameOverrides {
  TileKernelFn kernel = nullptr;
  std::int32_t taskCount = 0;
};
void RenderFrameWith(const SurfaceView& surface, const RenderOptions& options, const FrameOverrides& overrides);

}  // namespace tlr2
