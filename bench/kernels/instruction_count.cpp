// Instructions that the tile kernels execute, a micro tile and layer, by target and scene. For an emulated processor
// whose time-stamp counter counts instructions (tools/dev/avx512_machine.sh); elsewhere the figures are cycles of a
// kind, and it says so.
//
// Every kernel's call is counted by itself. What interrupts a call only adds to it, so each call is made twice and its
// lower count taken.
//
// usage: bench_instruction_count [TARGET or SCENE...]   all by default
#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "kernels/tile_kernel.h"
#include "layer_scene.h"
#include "targets_here.h"

namespace tlr2::bench {
namespace {

constexpr int kRounds = 2;
constexpr std::size_t kEvery = 13;  // of so many tiles one is drawn: enough for a mean

/// Orders the counter's reading against what stands around it.
inline std::uint64_t Counter() {
  std::uint32_t low, high;
  __asm__ volatile("lfence\n\trdtsc\n\tlfence" : "=a"(low), "=d"(high) : : "memory");
  return std::uint64_t{high} << 32 | low;
}

template <typename Body>
std::uint64_t Lowest(Body body) {
  std::uint64_t lowest = std::numeric_limits<std::uint64_t>::max();
  for (int i = 0; i < 20; ++i) {
    const std::uint64_t before = Counter();
    body();
    lowest = std::min(lowest, Counter() - before);
  }
  return lowest;
}

/// Two instructions a turn, and the one that sets the register.
void KnownLoop(std::uint32_t turns) { __asm__ volatile("1: sub $1, %0\n\tjnz 1b" : "+r"(turns) : : "cc"); }

struct {
  TileKernelFn kernel;
  std::uint64_t overhead;
  std::size_t call, next;
  std::vector<std::uint64_t> lowest;
} counted;

void CountedKernel(const KernelFrameArgs* args, std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1,
                   const std::uint32_t* entries, std::int32_t entryCount, float* hizCell) {
  if (counted.call++ % kEvery != 0) return;
  const std::uint64_t before = Counter();
  counted.kernel(args, x0, y0, x1, y1, entries, entryCount, hizCell);
  const std::uint64_t count = Counter() - before - counted.overhead;
  if (counted.next == counted.lowest.size()) counted.lowest.push_back(count);
  std::uint64_t& lowest = counted.lowest[counted.next++];
  lowest = std::min(lowest, count);
}

struct Result {
  double perTileAndLayer;
  std::uint64_t hash;
};

Result Count(Scene scene, TileKernelFn kernel) {
  LayerScene layers(scene);
  counted.kernel = kernel;
  counted.lowest.clear();
  std::int64_t layerPixels = 0;
  for (int round = 0; round < kRounds; ++round) {
    counted.call = counted.next = 0;
    layers.ClearDepth();
    layerPixels = layers.Draw(CountedKernel);
  }
  std::uint64_t sum = 0;
  for (const std::uint64_t count : counted.lowest) sum += count;
  const double layerCount = static_cast<double>(layerPixels) / (1280.0 * 720.0);
  return {static_cast<double>(sum) / (static_cast<double>(counted.lowest.size()) * layerCount), layers.ColorHash()};
}

bool IsScene(const std::string& name) {
  return std::any_of(std::begin(kNamedScenes), std::end(kNamedScenes),
                     [&](const auto& scene) { return name == scene.name; });
}

/// Whether `name` is among those of its kind that were asked for, or none of that kind was.
template <typename OfItsKind>
bool Chosen(const std::vector<std::string>& names, const std::string& name, OfItsKind ofItsKind) {
  return std::none_of(names.begin(), names.end(), ofItsKind) ||
         std::find(names.begin(), names.end(), name) != names.end();
}

int Main(int argc, char** argv) {
  const std::uint64_t none = Lowest([] {});
  counted.overhead = none;
  const auto loop = [](std::uint32_t turns) { return Lowest([turns] { KnownLoop(turns); }); };
  const std::uint64_t known = loop(11000) - loop(1000);
  std::printf("a loop of 20000 instructions counts %" PRIu64 "\n", known);
  const bool instructions = known >= 19990 && known <= 20010;
  std::printf("%s a micro tile and layer; the hash of the picture\n",
              instructions ? "instructions" : "NOT INSTRUCTIONS: counts of this processor's clock");
  const std::vector<std::string> names(argv + 1, argv + argc);
  for (const auto& scene : kNamedScenes) {
    if (!Chosen(names, scene.name, [](const auto& name) { return IsScene(name); })) continue;
    std::printf("%-16s", scene.name);
    for (std::int32_t target = 0; target < 4; ++target) {
      if (!Runs(target) || !Chosen(names, kTargets[target], [](const auto& name) { return !IsScene(name); })) continue;
      const Result result = Count(scene.scene, KernelForTarget(target));
      std::printf("  %s %.1f %08" PRIx32, kTargets[target], result.perTileAndLayer,
                  static_cast<std::uint32_t>(result.hash >> 32 ^ result.hash));
      std::fflush(stdout);
    }
    std::printf("\n");
  }
  return instructions ? 0 : 1;
}

}  // namespace
}  // namespace tlr2::bench

int main(int argc, char** argv) { return tlr2::bench::Main(argc, argv); }
