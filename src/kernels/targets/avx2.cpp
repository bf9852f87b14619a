// The avx2 target of the tile kernel.
#define TLR2_TILE_KERNEL tlr2_TileKernel_avx2
#include "kernels/lanes/avx2.h"

#include "kernels/body/kernel.h"
