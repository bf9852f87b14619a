// CPUID and XGETBV.
#include "platform/cpu.h"

#include <cpuid.h>

namespace tlr2 {

CpuidResult Cpuid(std::uint32_t leaf, std::uint32_t subleaf) noexcept {
  CpuidResult result{};
  // The processor answers a leaf above its greatest with the data of some other leaf, so the range is asked first.
  if (leaf > __get_cpuid_max(leaf & 0x80000000u, nullptr)) return result;
  __cpuid_count(leaf, subleaf, result.eax, result.ebx, result.ecx, result.edx);
  return result;
}

std::uint64_t Xgetbv0() noexcept {
  std::uint32_t low = 0, high = 0;
  __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return static_cast<std::uint64_t>(high) << 32 | low;
}

}  // namespace tlr2
