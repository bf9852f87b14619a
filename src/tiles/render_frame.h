// One frame: clears, texture cache, publication, and the one job whose tasks bin and rasterise.
#pragma once

#include <cstdint>
#include <cstdio>

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

/// Figures of the latest frame. 46 words.
struct FrameStats;

void RenderFrame(const SurfaceView& surface, const RenderOptions& options);
void RenderFrame(const SurfaceView& surface);
const FrameStats& LatestFrameStats() noexcept;
void TileDiscoveryReport(std::FILE* file);

}  // namespace tlr2
