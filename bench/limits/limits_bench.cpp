// The limits of a machine: what its memory, its lanes and its threads allow, beside which the driver's parts stand.
// With other work on the machine: --benchmark_repetitions=9 --benchmark_report_aggregates_only, where "least" has the
// least time and "greatest" the greatest rate.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "kernels/targets_here.h"
#include "limits.h"

namespace tlr2::bench {

LimitTriangle MakeLimitTriangle() {
  LimitTriangle t = {};
  const float x[3] = {-10, 3000, -10}, y[3] = {-10, -10, 2000}, z[3] = {0.25f, 0.5f, 0.75f};
  for (int i = 0; i < 3; ++i) {
    const int j = (i + 1) % 3;
    t.x[i] = x[i], t.y[i] = y[i], t.z[i] = z[i];
    t.dx[i] = x[j] - x[i], t.dy[i] = y[j] - y[i];
  }
  t.bias = 1.0f / 256;
  t.inverseArea = 1 / ((x[1] - x[0]) * (y[2] - y[0]) - (x[2] - x[0]) * (y[1] - y[0]));
  return t;
}

namespace {

constexpr std::size_t kPixels = std::size_t{kLimitWidth} * kLimitHeight;

struct Buffers {
  std::vector<std::uint32_t> color = std::vector<std::uint32_t>(kPixels);
  std::vector<float> depth = std::vector<float>(kPixels, 1.0f);
  std::vector<std::uint32_t> texels = std::vector<std::uint32_t>(kLimitTexture * kLimitTexture + 1);
  Buffers() {
    std::uint32_t noise = 1;
    for (std::uint32_t& texel : texels) texel = noise = noise * 1664525u + 1013904223u;
  }
  LimitFrame Frame() { return {color.data(), depth.data()}; }
};

void CountBytes(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kPixels * 4));
}
void CountPixels(benchmark::State& state) {
  state.counters["pixels"] =
      benchmark::Counter(static_cast<double>(kPixels), benchmark::Counter::kIsIterationInvariantRate);
}

void Fill(benchmark::State& state) {
  Buffers buffers;
  int value = 0;
  for (auto _ : state) {
    std::memset(buffers.color.data(), ++value & 0xFF, kPixels * 4);
    benchmark::ClobberMemory();
  }
  CountBytes(state);
}

void Copy(benchmark::State& state) {
  Buffers from, to;
  for (auto _ : state) {
    std::memcpy(to.color.data(), from.color.data(), kPixels * 4);
    benchmark::ClobberMemory();
  }
  CountBytes(state);
}

using SolidFn = void (*)(const LimitTriangle&, LimitFrame, std::uint32_t);
/// Every pixel passes each time: the depth that is stored is the one that comes again.
void Solid(benchmark::State& state, SolidFn draw) {
  Buffers buffers;
  const LimitTriangle triangle = MakeLimitTriangle();
  std::uint32_t color = 0;
  for (auto _ : state) {
    draw(triangle, buffers.Frame(), ++color);
    benchmark::ClobberMemory();
  }
  if (std::count(buffers.color.begin(), buffers.color.end(), color) != static_cast<std::ptrdiff_t>(kPixels)) {
    state.SkipWithError("a pixel was left out");
  }
  CountPixels(state);
}

using BilinearFn = void (*)(const std::uint32_t*, LimitFrame);
void BilinearTexels(benchmark::State& state, BilinearFn draw) {
  Buffers buffers;
  for (auto _ : state) {
    draw(buffers.texels.data(), buffers.Frame());
    benchmark::ClobberMemory();
  }
  CountPixels(state);
}

constexpr int kFloats = 4096;
using FloorsFn = void (*)(const float*, float*, int);
void FloorsOf(benchmark::State& state, FloorsFn floors) {
  alignas(64) static float from[kFloats], to[kFloats];
  for (int i = 0; i < kFloats; ++i) from[i] = static_cast<float>(i) * 0.37f - 700;
  for (auto _ : state) {
    floors(from, to, kFloats);
    benchmark::ClobberMemory();
  }
  state.counters["s/value"] =
      benchmark::Counter(kFloats, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

/// The C library's functions, as they are called where the compiler may not assume the instruction.
template <float (*kFunction)(float)>
void ByCalls(const float* from, float* to, int count) {
  float (*volatile function)(float) = kFunction;
  for (int i = 0; i < count; ++i) to[i] = function(from[i]);
}
float Floorf(float x) { return std::floor(x); }
float Ceilf(float x) { return std::ceil(x); }

/// To a thread that spins for it and back, with nothing done in between.
void HandOff(benchmark::State& state) {
  std::atomic<std::int64_t> turn{0};
  std::thread other([&turn] {
    for (std::int64_t seen = 1;; seen += 2) {
      std::int64_t now;
      while ((now = turn.load(std::memory_order_acquire)) != seen && now >= 0) __builtin_ia32_pause();
      if (now < 0) return;
      turn.store(seen + 1, std::memory_order_release);
    }
  });
  std::int64_t mine = 0;
  for (auto _ : state) {
    turn.store(mine + 1, std::memory_order_release);
    mine += 2;
    while (turn.load(std::memory_order_acquire) != mine) __builtin_ia32_pause();
  }
  turn.store(-1, std::memory_order_release);
  other.join();
}

/// Of repetitions, the best time is the least and the best rate the greatest.
double Least(const std::vector<double>& values) { return *std::min_element(values.begin(), values.end()); }
double Greatest(const std::vector<double>& values) { return *std::max_element(values.begin(), values.end()); }
void Add(benchmark::internal::Benchmark* bench) {
  bench->Unit(benchmark::kMicrosecond)->ComputeStatistics("least", Least)->ComputeStatistics("greatest", Greatest);
}

void Register() {
  Add(benchmark::RegisterBenchmark("fill", Fill));
  Add(benchmark::RegisterBenchmark("copy", Copy));
  for (const int number : {2, 3}) {
    if (!Runs(number)) continue;
    const LimitLoops loops = number == 2 ? Avx2Limits() : Avx512Limits();
    const std::string target = loops.target;
    const auto add = [&](const char* name, auto function, auto loop) {
      Add(benchmark::RegisterBenchmark((target + name).c_str(), function, loop));
    };
    add("/solid/rows", Solid, loops.solidByRows);
    add("/solid/gathers", Solid, loops.solidByGathers);
    add("/bilinear/four gathers", BilinearTexels, loops.bilinearByGathers);
    add("/bilinear/four loads a lane", BilinearTexels, loops.bilinearByLoads);
    add("/bilinear/pair loads", BilinearTexels, loops.bilinearByPairs);
    add("/floor", FloorsOf, loops.floors);
  }
  Add(benchmark::RegisterBenchmark("calls/floor", FloorsOf, ByCalls<Floorf>));
  Add(benchmark::RegisterBenchmark("calls/ceil", FloorsOf, ByCalls<Ceilf>));
  Add(benchmark::RegisterBenchmark("hand-off and back", HandOff)->UseRealTime());
}

}  // namespace
}  // namespace tlr2::bench

int main(int count, char** arguments) {
  tlr2::bench::Register();
  benchmark::Initialize(&count, arguments);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
