// The sse4 target of the tile kernel.
#define TLR2_KERNEL_TARGET sse4
#include "kernels/lanes/sse4.h"

#include "kernels/body/kernel.h"
