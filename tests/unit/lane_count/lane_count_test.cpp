// The lane count that the kernels' table gives on a processor of the target named on the command line, on whatever
// processor this runs: the processor's answers are those here. A process chooses once, so each target is a run of its
// own.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "kernels/tile_kernel.h"
#include "platform/cpu.h"

namespace {

struct Processor {
  const char* target;
  std::uint32_t leaf1Ecx, leaf1Edx, leaf7Ebx;
  std::uint64_t xcr0;
  std::int32_t lanes;
};

constexpr std::uint32_t kSse2 = 1u << 26, kSse4 = 3u << 19, kAvx = 3u << 27 | kSse4, kHalfAndRandom = 3u << 29,
                        kAvx2 = 1u << 5, kAvx512 = 0xD0030000u;
constexpr Processor kProcessors[] = {
    {"sse4", kSse4, kSse2, 0, 0, 8},
    {"avx", kAvx, kSse2, 0, 7, 16},
    {"avx2", kAvx | kHalfAndRandom, kSse2, kAvx2, 7, 16},
    {"avx512skx", kAvx | kHalfAndRandom, kSse2, kAvx2 | kAvx512, 0xE7, 16},
};
const Processor* processor = nullptr;

}  // namespace

namespace tlr2 {

// Linked ahead of the library's own.
CpuidResult Cpuid(std::uint32_t leaf, std::uint32_t subleaf) noexcept {
  if (leaf == 1) return {0, 0, processor->leaf1Ecx, processor->leaf1Edx};
  if (leaf == 7 && subleaf == 0) return {0, processor->leaf7Ebx, 0, 0};
  return {};
}
std::uint64_t Xgetbv0() noexcept { return processor->xcr0; }

}  // namespace tlr2

int main(int argc, char** argv) {
  for (const Processor& each : kProcessors)
    if (argc == 2 && std::strcmp(argv[1], each.target) == 0) processor = &each;
  if (processor == nullptr) {
    std::fprintf(stderr, "usage: test_lane_count sse4|avx|avx2|avx512skx\n");
    return 2;
  }
  std::int32_t first = -1, second = -1;
  tlr2::KernelLaneCount(&first);
  tlr2::KernelLaneCount(&second);
  if (first == processor->lanes && second == processor->lanes) return 0;
  std::printf("%s: %d lanes, then %d; expected %d\n", processor->target, static_cast<int>(first),
              static_cast<int>(second), static_cast<int>(processor->lanes));
  return 1;
}
