// The processor's identification.
#pragma once

#include <cstdint>

namespace tlr2 {

struct CpuidResult {
  std::uint32_t eax, ebx, ecx, edx;
};
/// All zero for a leaf above the greatest that the processor has.
CpuidResult Cpuid(std::uint32_t leaf, std::uint32_t subleaf) noexcept;
/// Extended control register 0. Call only with OSXSAVE set.
std::uint64_t Xgetbv0() noexcept;

}  // namespace tlr2
