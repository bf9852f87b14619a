// Throughput of the tile kernels: pixels of the layers a second, a target and a scene each.
#include <benchmark/benchmark.h>

#include <string>

#include "kernels/tile_kernel.h"
#include "layer_scene.h"
#include "targets_here.h"

namespace tlr2::bench {
namespace {

void Throughput(benchmark::State& state, Scene scene, TileKernelFn kernel) {
  LayerScene layers(scene);
  std::int64_t pixels = 0;
  for (auto _ : state) {
    layers.ClearDepth();  // a few parts in a hundred of the drawing
    pixels += layers.Draw(kernel);
  }
  state.counters["pixels"] = benchmark::Counter(static_cast<double>(pixels), benchmark::Counter::kIsRate);
  state.counters["triangles"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * static_cast<double>(layers.TriangleCount()),
                         benchmark::Counter::kIsRate);
}

void Register() {
  for (std::int32_t target = 0; target < 4; ++target) {
    if (!Runs(target)) continue;
    for (const auto& scene : kNamedScenes) {
      const std::string name = std::string("kernel/") + kTargets[target] + "/" + scene.name;
      benchmark::RegisterBenchmark(name.c_str(), Throughput, scene.scene, KernelForTarget(target))
          ->Unit(benchmark::kMillisecond);
    }
  }
}

}  // namespace
}  // namespace tlr2::bench

int main(int argc, char** argv) {
  tlr2::bench::Register();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
