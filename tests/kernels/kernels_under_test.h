// The kernels that the tests call through one type: the scalar form in its three variants and the real targets.
#pragma once

#include <span>

#include "records/kernel_args.h"

namespace tlr2::judge {

struct KernelUnderTest {
  const char* name;
  TileKernelFn run;
  TileKernelFn scalar;            // the scalar form that `run` must equal byte for byte
  ClearingTileKernelFn clearing;  // of `run`; the scalar variants have none
  int lanes;
  bool fused;
  bool (*supported)();
};

/// sse4, avx, avx2, avx512skx, in the order of the forced-target setting, then the emulated one where it is built.
std::span<const KernelUnderTest> RealKernels();

/// The three scalar variants, then the real kernels.
std::span<const KernelUnderTest> AllKernels();

}  // namespace tlr2::judge
