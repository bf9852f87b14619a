// What finding a task's triangles costs: nanoseconds a triangle and task, of triangles of 10 and of 100 pixels.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <random>

#include "api/state/driver_state.h"
#include "tiles/discovery.h"
#include "tiles/grid/grid.h"

namespace {

using namespace tlr2;

constexpr std::int32_t kWidth = 1280, kHeight = 720;
constexpr std::uint32_t kTriangles = 50000;

/// Right-angled triangles of about `pixels` pixels, turned by chance, neighbours in order along rows as a mesh has
/// them.
void MakeTriangles(DriverState& state, float pixels) {
  const float side = std::sqrt(2.0f * pixels);
  std::mt19937 random(1);
  std::uniform_real_distribution<float> jitter(-0.25f * side, 0.25f * side);
  float x = 0, y = 0;
  state.triangles.clear();
  for (std::uint32_t i = 0; i < kTriangles; ++i) {
    TriangleRecord t = {};
    t.textureIndex = kNoTexture;
    const float cx[3] = {0, side, i % 2 == 0 ? side : 0}, cy[3] = {0, i % 2 == 0 ? side : 0, side};
    for (int k = 0; k < 3; ++k) {
      t.x[k] = x + cx[k] + jitter(random);
      t.y[k] = y + cy[k] + jitter(random);
    }
    state.triangles.push_back(t);
    if (i % 2 == 1) x += side;
    if (x + side >= static_cast<float>(kWidth)) x = 0, y += side;
    if (y + side >= static_cast<float>(kHeight)) y = 0;
  }
}

/// All triangles for each of `tasks` tasks in turn, lists emptied in between as at a task's start.
void Discovery(benchmark::State& bench) {
  const auto tasks = static_cast<std::int32_t>(bench.range(0));
  DriverState& state = DriverStateInstance();
  ResizeTileGrid(state, kWidth, kHeight);
  RebuildWorkerTilePartition(state, tasks);
  PlaceTileLists(state);
  MakeTriangles(state, static_cast<float>(bench.range(1)));
  for (auto _ : bench) {
    for (TileEntryList& list : state.tileLists) list.clear();
    for (std::int32_t task = 0; task < tasks; ++task) {
      DiscoveryCounts counts = {};
      DiscoverTriangles(MakeDiscoveryGrid(state, task), state.triangles.data(), kTriangles, counts);
      benchmark::DoNotOptimize(counts);
    }
  }
  bench.counters["s/triangle/task"] =
      benchmark::Counter(static_cast<double>(kTriangles) * tasks,
                         benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(Discovery)->ArgNames({"tasks", "pixels"})->ArgsProduct({{1, 2, 4}, {10, 100}});

}  // namespace

BENCHMARK_MAIN();
