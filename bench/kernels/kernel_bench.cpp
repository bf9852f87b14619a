// Throughput of the tile kernels: pixels of the layers a second, a target and a scene each.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

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

// The limits that the kernels' figures stand beside: a 1280x720 buffer written and copied. Coverage, depth and a solid
// store without shading is the flat scene.
using Words = std::vector<std::uint32_t>;
constexpr std::size_t kLimitWords = 1280 * 720;

void FillLimit(benchmark::State& state) {
  Words buffer(kLimitWords);
  std::uint32_t value = 0;
  for (auto _ : state) {
    std::memset(buffer.data(), static_cast<int>(++value & 0xFF), kLimitWords * 4);
    benchmark::DoNotOptimize(buffer.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kLimitWords * 4));
}

void CopyLimit(benchmark::State& state) {
  const Words from(kLimitWords, 1);
  Words to(kLimitWords);
  for (auto _ : state) {
    std::copy(from.begin(), from.end(), to.begin());
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kLimitWords * 4));
}

void Register() {
  benchmark::RegisterBenchmark("limit/fill", FillLimit)->Unit(benchmark::kMicrosecond);
  benchmark::RegisterBenchmark("limit/copy", CopyLimit)->Unit(benchmark::kMicrosecond);
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
