// The kernels' targets by name, and which of them this processor and its system can run.
#pragma once

#include <cstdint>

#include "platform/cpu.h"

namespace tlr2::bench {

constexpr const char* kTargets[] = {"sse4", "avx", "avx2", "avx512skx"};

inline bool Runs(std::int32_t target) {
  const CpuidResult leaf1 = Cpuid(1, 0), leaf7 = Cpuid(7, 0);
  const bool savesAvx = (leaf1.ecx >> 27 & 3) == 3 && (Xgetbv0() & 6) == 6;
  if (target == 0) return (leaf1.ecx >> 19 & 1) != 0;
  if (target == 1) return savesAvx;
  if (target == 2) return savesAvx && (leaf7.ebx >> 5 & 1) != 0;
  return savesAvx && (Xgetbv0() & 0xE6) == 0xE6 && (leaf7.ebx & 0xD0030000u) == 0xD0030000u;
}

}  // namespace tlr2::bench
