// How a viewport record reaches the surface of the thread's context, which stands in a room above this one. Only a
// replay on the application's own thread has a context to ask for.
#pragma once

#include <cstdint>

namespace tlr2 {

struct ContextRecord;

/// Makes the context's surface cover `width` by `height`; a size that is not positive asks nothing.
using SurfaceCoverFn = void (*)(ContextRecord* context, std::int32_t width, std::int32_t height);

/// Registered by whoever makes contexts; null at load.
void RegisterSurfaceCover(SurfaceCoverFn cover) noexcept;
SurfaceCoverFn SurfaceCover() noexcept;

}  // namespace tlr2
