// Which target this processor runs, found once at first use.
#include <atomic>
#include <cstdint>

#include "kernels/tile_kernel.h"
#include "platform/cpu.h"

namespace tlr2 {
namespace {

// Leaf 1.
constexpr std::uint32_t kSse41 = 1u << 19, kSse42 = 1u << 20, kOsxsave = 1u << 27, kAvx = 1u << 28, kF16c = 1u << 29,
                        kRdrand = 1u << 30;  // ecx
constexpr std::uint32_t kSse2 = 1u << 26;    // edx
// Leaf 7.
constexpr std::uint32_t kAvx2 = 1u << 5, kAvx512f = 1u << 16;                    // ebx
constexpr std::uint32_t kServerSets = 0xD0020000u, kManyCoreSets = 0x1C000000u;  // dq cd bw vl; pf er cd
constexpr std::uint32_t kAvxVnni = 1u << 4;                                      // subleaf 1, eax
// Extended control register 0: which registers the system saves.
constexpr std::uint64_t kSavesAvx = 0x06, kSavesAvx512 = 0xE6;

constexpr bool Has(std::uint64_t word, std::uint64_t bits) { return (word & bits) == bits; }

CpuFacts ReadCpuFacts() noexcept {
  CpuFacts facts = {};
  const CpuidResult leaf1 = Cpuid(1, 0);
  facts.leaf1Ecx = leaf1.ecx;
  facts.leaf1Edx = leaf1.edx;
  const CpuidResult leaf7 = Cpuid(7, 0);
  facts.leaf7Ebx = leaf7.ebx;
  if (leaf7.eax >= 1) facts.leaf7Sub1Eax = Cpuid(7, 1).eax;
  if (Has(leaf1.ecx, kOsxsave)) facts.xcr0 = Xgetbv0();
  return facts;
}

using LaneCountFn = void (*)(std::int32_t* out);

void EightLanes(std::int32_t* out) { *out = 8; }
void SixteenLanes(std::int32_t* out) { *out = 16; }

constexpr TileKernelFn kKernels[] = {tlr2_TileKernel_sse4, tlr2_TileKernel_avx, tlr2_TileKernel_avx2,
                                     tlr2_TileKernel_avx512skx};
constexpr ClearingTileKernelFn kClearingKernels[] = {tlr2_ClearingTileKernel_sse4, tlr2_ClearingTileKernel_avx,
                                                     tlr2_ClearingTileKernel_avx2, tlr2_ClearingTileKernel_avx512skx};
constexpr LaneCountFn kLaneCounts[] = {EightLanes, SixteenLanes, SixteenLanes, SixteenLanes};

/// One auto entry's memory. Threads may race through the choice: they come to the same one.
template <typename Function>
struct AutoEntry {
  std::atomic<Function> chosen{nullptr};
  std::atomic<std::int32_t> level{-1};

  Function Choose(const Function (&targets)[4]) noexcept {
    const Function known = chosen.load(std::memory_order_relaxed);
    if (known != nullptr) return known;
    if (level.load(std::memory_order_relaxed) == -1) {
      const std::int32_t found = KernelLevel(ReadCpuFacts());
      if (found == -1 || found == 7) __builtin_trap();
      level.exchange(found, std::memory_order_relaxed);
    }
    const std::int32_t target = KernelTargetOfLevel(level.load(std::memory_order_relaxed));
    if (target < 0) __builtin_trap();
    chosen.store(targets[target], std::memory_order_relaxed);
    return targets[target];
  }
};

constinit AutoEntry<TileKernelFn> kernelEntry;
constinit AutoEntry<ClearingTileKernelFn> clearingKernelEntry;
constinit AutoEntry<LaneCountFn> laneCountEntry;

}  // namespace

std::int32_t KernelLevel(const CpuFacts& facts) noexcept {
  const bool saves = Has(facts.leaf1Ecx, kOsxsave);
  if (saves && Has(facts.leaf7Ebx, kAvx2 | kAvx512f) && Has(facts.xcr0, kSavesAvx512)) {
    if (Has(facts.leaf7Ebx, kServerSets)) return 8;
    if (Has(facts.leaf7Ebx, kManyCoreSets)) return 7;
  }
  if (saves && Has(facts.leaf1Ecx, kAvx) && Has(facts.xcr0, kSavesAvx)) {
    if (Has(facts.leaf7Sub1Eax, kAvxVnni)) return 6;
    if (Has(facts.leaf1Ecx, kF16c | kRdrand)) return Has(facts.leaf7Ebx, kAvx2) ? 5 : 3;
    return 3;
  }
  if (Has(facts.leaf1Ecx, kSse42)) return 2;
  if (Has(facts.leaf1Ecx, kSse41)) return 1;
  return Has(facts.leaf1Edx, kSse2) ? 0 : -1;
}

std::int32_t KernelTargetOfLevel(std::int32_t level) noexcept {
  if (level >= 8) return 3;
  if (level == 5 || level == 6) return 2;
  if (level == 3 || level == 4) return 1;
  if (level == 1 || level == 2) return 0;
  return -1;
}

extern "C" void tlr2_TileKernel(const KernelFrameArgs* args, std::int32_t x0, std::int32_t y0, std::int32_t x1,
                                std::int32_t y1, const std::uint32_t* entries, std::int32_t entryCount,
                                float* hizCell) {
  kernelEntry.Choose(kKernels)(args, x0, y0, x1, y1, entries, entryCount, hizCell);
}

extern "C" void tlr2_ClearingTileKernel(const KernelFrameArgs* args, std::int32_t x0, std::int32_t y0, std::int32_t x1,
                                        std::int32_t y1, const std::uint32_t* entries, std::int32_t entryCount,
                                        float* hizCell, const TileClears* clears) {
  clearingKernelEntry.Choose(kClearingKernels)(args, x0, y0, x1, y1, entries, entryCount, hizCell, clears);
}

void KernelLaneCount(std::int32_t* out) noexcept { laneCountEntry.Choose(kLaneCounts)(out); }

TileKernelFn KernelForTarget(std::int32_t target) noexcept {
  return target >= 0 && target < 4 ? kKernels[target] : tlr2_TileKernel;
}

ClearingTileKernelFn ClearingForm(TileKernelFn kernel) noexcept {
  for (int target = 0; target < 4; ++target)
    if (kernel == kKernels[target]) return kClearingKernels[target];
  return kernel == tlr2_TileKernel ? tlr2_ClearingTileKernel : nullptr;
}

}  // namespace tlr2
