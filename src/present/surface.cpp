// The surface's rules, the same over every present device.
#include "present/surface.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "capture/trace.h"
#include "platform/buffer_memory.h"

namespace tlr2 {

bool SurfaceCreate(Surface& surface, std::int32_t width, std::int32_t height, void* window) {
  constexpr const char* kLogName = "TLR2::Surface::Create";
  SurfaceDestroy(surface);
  if (width <= 0 || height <= 0 || window == nullptr) return false;
  surface.device = DeviceInit(window, DeviceSize{width, height, width, height});
  if (surface.device == nullptr) {
    TraceCall(kLogName, "(DxgiPresent::Init failed; w=%d h=%d render=%dx%d)", width, height, width, height);
    return false;
  }
  if (!DeviceBeginFrame(*surface.device, surface.colorBuffer, surface.rowPitch)) {
    TraceCall(kLogName, "(BeginFrame returned false after Init)");
    SurfaceDestroy(surface);
    return false;
  }
  // Not cleared: what a new depth buffer holds is the application's clear to decide.
  const std::uint64_t rowBytes = static_cast<std::uint64_t>(width) * sizeof(float);  // may not fit 32 bits
  if (static_cast<std::uint64_t>(height) <= static_cast<std::uint64_t>(PTRDIFF_MAX) / rowBytes)
    surface.depthBuffer =
        static_cast<float*>(AllocateBuffer(static_cast<std::size_t>(static_cast<std::uint64_t>(height) * rowBytes)));
  if (surface.depthBuffer == nullptr) {
    SurfaceDestroy(surface);
    return false;
  }
  surface.width = width;
  surface.height = height;
  return true;
}

void SurfaceDestroy(Surface& surface) {
  DeviceShutdown(surface.device);
  FreeBuffer(surface.depthBuffer);
  surface = Surface{};
}

bool SurfaceEnsureSize(Surface& surface, std::int32_t width, std::int32_t height, void* deviceContext) {
  if (width <= 0 || height <= 0) return SurfaceReady(surface);
  if (SurfaceReady(surface) && surface.width >= width && surface.height >= height) return true;
  void* window = WindowOfDeviceContext(deviceContext);
  if (window == nullptr) return false;
  // The larger in each axis, so that a surface never shrinks when it grows in one axis only.
  return SurfaceCreate(surface, std::max(width, surface.width), std::max(height, surface.height), window);
}

void SurfacePresent(Surface& surface, void* /*deviceContext*/) {
  if (!SurfaceReady(surface)) return;
  if (!DevicePresent(*surface.device)) {
    // The size stays: without a colour buffer the renderer skips its frames until a new create.
    surface.colorBuffer = nullptr;
    surface.rowPitch = 0;
    return;
  }
  // Its result is not asked for: null and 0 stop the picture in the same way.
  DeviceBeginFrame(*surface.device, surface.colorBuffer, surface.rowPitch);
}

}  // namespace tlr2
