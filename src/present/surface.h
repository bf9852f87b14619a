// Surface: the memory that the rasteriser writes into, and its way to the window. The depth buffer lives on the heap;
// the colour buffer is the memory that the present device has mapped.
#pragma once

#include <cstdint>

#include "present/device.h"
#include "tiles/render_frame.h"

namespace tlr2 {

/// A context's surface. The colour pointer and pitch change at each present: nothing may keep them across frames.
struct Surface : SurfaceView {
  PresentDevice* device = nullptr;
};

/// Drops what exists and makes buffers of `width` by `height`; the depth buffer is not cleared. False without a
/// window, with a size that is not positive, or when the device fails.
bool SurfaceCreate(Surface& surface, std::int32_t width, std::int32_t height, void* window);
void SurfaceDestroy(Surface& surface);
/// Covers at least `width` by `height`; creates anew with the larger of old and new in each axis. With a size that is
/// not positive: whether both buffers exist.
bool SurfaceEnsureSize(Surface& surface, std::int32_t width, std::int32_t height, void* deviceContext);
/// Shows the picture and turns to the other colour buffer. On failure the colour buffer is gone until a new create.
void SurfacePresent(Surface& surface, void* deviceContext);
inline bool SurfaceReady(const Surface& surface) noexcept {
  return surface.colorBuffer != nullptr && surface.depthBuffer != nullptr;
}

}  // namespace tlr2
