// Lists and bounds are read from the driver state after the frame; times are taken around each kernel call of further
// draws; the planes come from the scalar walk.
#include "tlr2_replay/frame_maps.h"

#include <algorithm>
#include <atomic>
#include <cmath>

#include "api/state/driver_state.h"
#include "kernels/tile_kernel.h"
#include "platform/clock.h"
#include "tiles/grid/grid.h"
#include "tlr2_replay/scalar_frame.h"

namespace tlr2::tool {
namespace {

constexpr std::uint32_t kLequal = 2;

/// What the timing kernel writes to; kernels take no context. A macro tile belongs to one task.
struct Timing {
  TileKernelFn kernel = nullptr;
  std::vector<std::int64_t> ticks;  // of a grid of as many macro tiles as any frame could have
  std::size_t columns = 0;
};
Timing timing;

void TimedKernel(const KernelFrameArgs* args, std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1,
                 const std::uint32_t* entries, std::int32_t entryCount, float* hizCell) {
  const std::int64_t start = TicksNow();
  timing.kernel(args, x0, y0, x1, y1, entries, entryCount, hizCell);
  const std::size_t tile = static_cast<std::size_t>(y0 >> 5) * timing.columns + static_cast<std::size_t>(x0 >> 5);
  if (tile < timing.ticks.size()) timing.ticks[tile] += TicksNow() - start;
}

TileMap MakeMap(std::int32_t columns, std::int32_t rows) {
  TileMap map;
  map.columns = std::max(columns, 0);
  map.rows = std::max(rows, 0);
  map.values.assign(static_cast<std::size_t>(map.columns) * static_cast<std::size_t>(map.rows), 0);
  return map;
}

bool Hidden(const TriangleRecord& tri, float bound) noexcept {
  return tri.depthTest != 0 && tri.depthFunc == kLequal && tri.blendMode == 0 && tri.alphaTest == 0 && tri.zMin > bound;
}

void ReadLists(FrameMaps& maps) {
  const DriverState& state = DriverStateInstance();
  maps.triangles = MakeMap(state.microCols, state.microRows);
  maps.skipped = MakeMap(state.microCols, state.microRows);
  std::size_t tile = 0;
  for (std::int32_t y = 0; y < maps.triangles.rows; ++y) {
    for (std::int32_t x = 0; x < maps.triangles.columns; ++x, ++tile) {
      const TileEntryList& list = TileListOf(state, x, y);
      maps.triangles.values[tile] = static_cast<double>(list.size());
      for (const std::uint32_t triangle : list)
        if (Hidden(state.triangles[triangle], state.hizTable[tile])) ++maps.skipped.values[tile];
    }
  }
  maps.owner = MakeMap(state.macroCols, state.macroRows);
  for (std::size_t i = 0; i < maps.owner.values.size() && i < state.macroOwner.size(); ++i)
    maps.owner.values[i] = state.macroOwner[i];
}

struct PlaneSums {
  std::int32_t columns = 0;
  std::vector<std::uint32_t> planes, triangles;  // a micro tile's are written by the one thread that walks it
};

void ReadPlanes(const Session& session, FrameMaps& maps) {
  const DriverState& state = DriverStateInstance();
  maps.planes = MakeMap(state.microCols, state.microRows);
  PlaneSums sums;
  sums.columns = maps.planes.columns;
  sums.planes.assign(maps.planes.values.size(), 0);
  sums.triangles.assign(maps.planes.values.size(), 0);
  judge::ScalarObserver observer;
  observer.context = &sums;
  observer.triangle = [](void* context, std::int32_t x0, std::int32_t y0, std::uint32_t, int planes, bool) {
    if (planes == 0) return;
    PlaneSums& to = *static_cast<PlaneSums*>(context);
    const std::size_t tile =
        static_cast<std::size_t>(y0 / 8) * static_cast<std::size_t>(to.columns) + static_cast<std::size_t>(x0 / 8);
    to.planes[tile] += static_cast<std::uint32_t>(planes);
    ++to.triangles[tile];
  };
  FrameStart start = session.Start();
  WalkFrame(start, session.Target(), {}, observer);
  for (std::size_t i = 0; i < sums.planes.size(); ++i)
    if (sums.triangles[i] != 0) maps.planes.values[i] = static_cast<double>(sums.planes[i]) / sums.triangles[i];
}

/// The least of several draws: a task that another program interrupts would stand out for no reason of the frame's.
void ReadTimes(const Session& session, FrameMaps& maps) {
  constexpr int kDraws = 5;
  const DriverState& state = DriverStateInstance();
  maps.time = MakeMap(state.macroCols, state.macroRows);
  std::vector<std::int64_t> least(timing.ticks.size(), INT64_MAX);
  for (int draw = 0; draw < kDraws; ++draw) {
    timing.ticks.assign(timing.ticks.size(), 0);
    session.DrawPrefix(static_cast<std::uint32_t>(state.triangles.size()), nullptr, TimedKernel);
    for (std::size_t i = 0; i < least.size(); ++i) least[i] = std::min(least[i], timing.ticks[i]);
  }
  timing.ticks = std::move(least);
  for (std::int32_t y = 0; y < maps.time.rows; ++y) {
    for (std::int32_t x = 0; x < maps.time.columns; ++x) {
      const std::size_t from = static_cast<std::size_t>(y) * timing.columns + static_cast<std::size_t>(x);
      if (from >= timing.ticks.size()) continue;
      maps.time.values[static_cast<std::size_t>(y) * static_cast<std::size_t>(maps.time.columns) +
                       static_cast<std::size_t>(x)] =
          static_cast<double>(timing.ticks[from]) * 1e6 / static_cast<double>(TicksPerSecond());
    }
  }
}

std::uint32_t HeatColor(double share) noexcept {
  const auto channel = [](double value) {
    return static_cast<std::uint32_t>(std::lround(255 * std::clamp(value, 0.0, 1.0)));
  };
  return 0xFF000000u | channel(share * 2.5) << 16 | channel(share * 2.5 - 0.9) << 8 | channel(share * 4 - 3);
}

}  // namespace

double TileMap::Greatest() const noexcept {
  return values.empty() ? 0 : *std::max_element(values.begin(), values.end());
}

FrameMaps MapFrame(Session& session, std::uint32_t frame) {
  constexpr std::int32_t kMostPixels = 16384;  // on an axis of any grid that the driver is given
  FrameMaps maps;
  timing.kernel = KernelForTarget(session.Target());
  timing.columns = static_cast<std::size_t>(kMostPixels / 32);
  timing.ticks.assign(timing.columns * timing.columns, 0);
  StepHooks hooks;
  hooks.rendered = [&] {
    ReadLists(maps);
    ReadTimes(session, maps);
    ReadPlanes(session, maps);
  };
  session.StepTo(frame, hooks);
  return maps;
}

StoredPicture HeatPicture(const TileMap& map, double most) {
  StoredPicture picture;
  picture.width = map.columns;
  picture.height = map.rows;
  for (const double value : map.values) picture.pixels.push_back(HeatColor(most > 0 ? value / most : 0));
  return picture;
}

StoredPicture IndexPicture(const TileMap& map) {
  StoredPicture picture;
  picture.width = map.columns;
  picture.height = map.rows;
  for (const double value : map.values) {
    // Neighbouring numbers get hues far apart.
    const double hue = std::fmod(value * 0.618033988749895, 1.0) * 6;
    const auto channel = [hue](double offset) {
      const double at = std::fmod(hue + offset, 6);
      const double level = std::clamp(std::fabs(at - 3) - 1, 0.0, 1.0);
      return static_cast<std::uint32_t>(60 + 180 * level);
    };
    picture.pixels.push_back(0xFF000000u | channel(0) << 16 | channel(4) << 8 | channel(2));
  }
  return picture;
}

}  // namespace tlr2::tool
