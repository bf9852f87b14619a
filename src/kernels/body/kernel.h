// The kernel of one target: the target names the function and includes its lanes, then this body.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernels/tile_kernel.h"
#include "records/kernel_args.h"

// Each stage builds on the ones above it.
// clang-format off
#include "kernels/body/layout.h"
#include "kernels/body/edges.h"
#include "kernels/body/coverage.h"
#include "kernels/body/depth.h"
#include "kernels/body/hiz.h"
#include "kernels/body/perspective.h"
#include "kernels/body/addresses.h"
#include "kernels/body/fetch.h"
#include "kernels/body/filter.h"
#include "kernels/body/combine.h"
#include "kernels/body/shade.h"
#include "kernels/body/blend.h"
#include "kernels/body/store.h"
#include "kernels/body/sharing.h"
#include "kernels/body/gradient.h"
#include "kernels/body/own.h"
#include "kernels/body/whole.h"
#include "kernels/body/packed.h"
#include "kernels/body/range.h"
#include "kernels/body/fragments.h"
#include "kernels/body/forms.h"
#include "kernels/body/waiting.h"
#include "kernels/body/step.h"
#include "kernels/body/hidden.h"
// clang-format on

#define TLR2_JOIN_NAMES(name, target) name##_##target
#define TLR2_OF_TARGET(name, target) TLR2_JOIN_NAMES(name, target)

namespace tlr2 {
namespace {

[[gnu::noinline]] void DrawTile(const KernelFrameArgs& args, std::int32_t x0, std::int32_t y0, std::int32_t x1,
                                std::int32_t y1, const std::uint32_t* entries, std::int32_t entryCount, float* hizCell,
                                const TileClears& clears) {
  const ListScan scan = ScanList(args.triangles, entries, entryCount, *hizCell, x0, y0, x1, y1);
  *hizCell = scan.bound;
  TileDrawing drawing(args, x0, y0, x1, y1, clears);
  const std::int32_t skipped = SkipHidden(args, entries, scan, drawing);
  DrawList(args, entries + skipped, entryCount - skipped, scan.bound, drawing);
  EndLanes();
}

}  // namespace

extern "C" void TLR2_OF_TARGET(tlr2_TileKernel, TLR2_KERNEL_TARGET)(const KernelFrameArgs* args, std::int32_t x0,
                                                                    std::int32_t y0, std::int32_t x1, std::int32_t y1,
                                                                    const std::uint32_t* entries,
                                                                    std::int32_t entryCount, float* hizCell) {
  constexpr TileClears kNone;
  if (entryCount > 0) DrawTile(*args, x0, y0, x1, y1, entries, entryCount, hizCell, kNone);
}

extern "C" void TLR2_OF_TARGET(tlr2_ClearingTileKernel,
                               TLR2_KERNEL_TARGET)(const KernelFrameArgs* args, std::int32_t x0, std::int32_t y0,
                                                   std::int32_t x1, std::int32_t y1, const std::uint32_t* entries,
                                                   std::int32_t entryCount, float* hizCell, const TileClears* clears) {
  DrawTile(*args, x0, y0, x1, y1, entries, entryCount, hizCell, *clears);
}

}  // namespace tlr2
