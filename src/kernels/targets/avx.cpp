// The avx target of the tile kernel.
#define TLR2_KERNEL_TARGET avx
#include "kernels/lanes/avx.h"

#include "kernels/body/kernel.h"
