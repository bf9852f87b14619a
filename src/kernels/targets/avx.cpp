// The avx target of the tile kernel.
#define TLR2_TILE_KERNEL tlr2_TileKernel_avx
#include "kernels/lanes/avx.h"

#include "kernels/body/kernel.h"
