// Surface: the memory that the rasteriser writes into, and its way to the window. One implementation is linked in a
// build: Direct3D 11 on Windows, a headless one elsewhere.
#pragma once

#include <cstdint>

#include "tiles/render_frame.h"

namespace tlr2 {

struct PresentDevice;  // what stands behind the colour buffer; each implementation has its own

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

/// The window of a device context, null for none; and its client size, false when it cannot be had.
void* WindowOfDeviceContext(void* deviceContext) noexcept;
bool WindowClientSize(void* window, std::int32_t& width, std::int32_t& height) noexcept;

}  // namespace tlr2
