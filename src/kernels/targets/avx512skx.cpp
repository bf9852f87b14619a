// The avx512skx target of the tile kernel.
#define TLR2_KERNEL_TARGET avx512skx
#include "kernels/lanes/avx512skx.h"

#include "kernels/body/kernel.h"
