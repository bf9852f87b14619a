// The avx2 target of the tile kernel.
#define TLR2_KERNEL_TARGET avx2
#include "kernels/lanes/avx2.h"

#include "kernels/body/kernel.h"
