// The device behind a surface's colour buffer. One implementation is linked in a build: Direct3D 11 on Windows, a
// headless one elsewhere. The application's thread alone calls it.
#pragma once

#include <cstdint>

namespace tlr2 {

struct PresentDevice;

struct DeviceSize {
  std::int32_t windowWidth, windowHeight;  // what is shown
  std::int32_t renderWidth, renderHeight;  // what is drawn
};

/// Makes a device for `window` with two zeroed colour buffers of the render size, the first of them mapped. Null for a
/// null window, for a size that is not positive, or when a step fails; the failing step is a trace line.
PresentDevice* DeviceInit(void* window, const DeviceSize& size);

/// The current colour buffer, mapped now if it is not yet: its first pixel and the bytes from row to row. On failure
/// false, a trace line, null and 0.
bool DeviceBeginFrame(PresentDevice& device, std::uint32_t*& pixels, std::uint32_t& rowPitch);

/// Post-process, overlay and show the current buffer, turn to the other one and map it. False stops the picture. What
/// DeviceBeginFrame gave before is void after the call, whatever it returns.
bool DevicePresent(PresentDevice& device);

/// Unmaps and frees everything; null does nothing.
void DeviceShutdown(PresentDevice* device);

/// The window of a device context, null for none.
void* WindowOfDeviceContext(void* deviceContext) noexcept;
/// A window's client size; false when it cannot be had.
bool WindowClientSize(void* window, std::int32_t& width, std::int32_t& height) noexcept;

}  // namespace tlr2
