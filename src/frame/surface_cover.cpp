// The registered way from a viewport record to a surface.
#include "frame/surface_cover.h"

#include <atomic>

namespace tlr2 {
namespace {

std::atomic<SurfaceCoverFn> registered{nullptr};

}  // namespace

void RegisterSurfaceCover(SurfaceCoverFn cover) noexcept { registered.store(cover, std::memory_order_release); }
SurfaceCoverFn SurfaceCover() noexcept { return registered.load(std::memory_order_acquire); }

}  // namespace tlr2
