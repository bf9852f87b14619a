// The walk over the micro tiles' lists, with the bounds and buffers that the frame started from.
#include "tlr2_replay/scalar_frame.h"

#include <algorithm>

#include "api/state/driver_state.h"
#include "textures/texture_cache.h"
#include "tiles/grid/grid.h"
#include "tiles/queue/render_job_queue.h"

namespace tlr2::tool {
namespace {

constexpr std::int32_t kSse4 = 0, kAvx = 1;

struct Walk {
  FrameStart& start;
  TileRange range;
  KernelFrameArgs args;
  int lanes;
  bool fused;
  const judge::ScalarObserver& observer;
};

void WalkRow(std::int32_t index, void* context) {
  Walk& walk = *static_cast<Walk*>(context);
  const DriverState& state = DriverStateInstance();
  const std::int32_t microY = walk.range.y0 + index;
  const std::int32_t width = std::min(state.fbWidth, walk.start.width);
  const std::int32_t height = std::min(state.fbHeight, walk.start.height);
  for (std::int32_t microX = walk.range.x0; microX < walk.range.x1; ++microX) {
    const std::size_t tile =
        static_cast<std::size_t>(microY) * static_cast<std::size_t>(state.microCols) + static_cast<std::size_t>(microX);
    const TileEntryList& list = TileListOf(state, microX, microY);
    const std::int32_t x0 = microX * 8, y0 = microY * 8;
    if (list.empty() || x0 >= width || y0 >= height) continue;
    judge::ScalarTileKernel(&walk.args, x0, y0, std::min(x0 + 8, width), std::min(y0 + 8, height), list.data(),
                            static_cast<std::int32_t>(list.size()), &walk.start.bounds[tile], walk.lanes, walk.fused,
                            nullptr, &walk.observer);
  }
}

}  // namespace

void WalkFrame(FrameStart& start, std::int32_t target, const TileRange& range, const judge::ScalarObserver& observer) {
  const DriverState& state = DriverStateInstance();
  if (state.triangles.empty() || start.width < 1 || start.height < 1) return;
  std::vector<TextureCacheEntry> cache;
  BuildTextureCache(state, cache);
  Walk walk{start, range, {}, target == kSse4 ? 8 : 16, target != kSse4 && target != kAvx, observer};
  walk.range.x0 = std::max(range.x0, 0);
  walk.range.y0 = std::max(range.y0, 0);
  walk.range.x1 = std::min(range.x1, state.microCols);
  walk.range.y1 = std::min(range.y1, state.microRows);
  walk.args.colorStrideBytes = static_cast<std::uint32_t>(start.width) * 4;
  walk.args.colorPixels = start.color.data();
  walk.args.depthPixels = start.depth.data();
  walk.args.depthStrideBytes = static_cast<std::uint32_t>(start.width) * 4;
  walk.args.triangles = state.triangles.data();
  walk.args.textureCache = cache.data();
  walk.args.textureCacheCount = static_cast<std::uint32_t>(cache.size());
  walk.args.kernelMode = Settings().kernelMode;
  ParallelFor(walk.range.y1 - walk.range.y0, WalkRow, &walk);
}

}  // namespace tlr2::tool
