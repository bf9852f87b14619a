// The headless present device: two colour buffers that alternate. Showing one hands it to the window, from which an
// application can copy it.
#include "present/device.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "capture/trace.h"
#include "present/headless/window.h"
#include "present/postprocess.h"

namespace tlr2 {

namespace {

constexpr int kBufferCount = 2;
// Rows are longer than their pixels, and differently so in each buffer, as mapped memory of a real device may be: who
// keeps a pointer or takes the width for the pitch shows it at once.
constexpr std::uint32_t kRowPadding[kBufferCount] = {64, 128};
constexpr std::uint64_t kMostPitch = 0x7FFFFFFFu;  // a pitch is a 32-bit word: a wider row must not wrap to a short one

}  // namespace

struct PresentDevice {
  void* window = nullptr;  // a handle: the window may end before its contexts do
  DeviceSize size = {};
  ColorBuffer buffer[kBufferCount];
  std::uint32_t rowPitch[kBufferCount] = {};
  int index = 0;
  bool mapped = false;
};

namespace {

bool MapCurrent(PresentDevice& device) {
  if (device.mapped) return true;
  const HeadlessWindow* window = FindHeadlessWindow(device.window);
  if (window == nullptr || window->failMap) {
    TraceCall("TLR2::DxgiPresent::BeginFrame", "(Map hr=0x%08X)", 0x80004005u);
    return false;
  }
  device.mapped = true;
  return true;
}

/// The current colour buffer as a picture, with the adjustments of this moment.
ShownPicture CurrentPicture(const PresentDevice& device) {
  return {device.buffer[device.index].get(), device.rowPitch[device.index], device.size.renderWidth,
          device.size.renderHeight, MakePostProcessConstants(Settings())};
}

}  // namespace

PresentDevice* DeviceInit(void* window, const DeviceSize& size) {
  HeadlessWindow* found = FindHeadlessWindow(window);
  if (found == nullptr || size.windowWidth <= 0 || size.windowHeight <= 0 || size.renderWidth <= 0 ||
      size.renderHeight <= 0)
    return nullptr;
  std::unique_ptr<PresentDevice> device(new (std::nothrow) PresentDevice);
  if (device == nullptr) return nullptr;
  device->window = window;
  device->size = size;
  for (int i = 0; i < kBufferCount; ++i) {
    const std::uint64_t pitch = static_cast<std::uint64_t>(size.renderWidth) * 4 + kRowPadding[i];
    const bool fits = pitch <= kMostPitch && static_cast<std::uint64_t>(size.renderHeight) <= PTRDIFF_MAX / pitch;
    if (fits && !found->failInit) {
      device->rowPitch[i] = static_cast<std::uint32_t>(pitch);
      const std::size_t bytes = static_cast<std::size_t>(pitch) * static_cast<std::size_t>(size.renderHeight);
      device->buffer[i].reset(static_cast<std::uint32_t*>(AllocateBuffer(bytes)));
      if (device->buffer[i] != nullptr) std::memset(device->buffer[i].get(), 0, bytes);
    }
    if (device->buffer[i] == nullptr) {
      TraceCall("TLR2::DxgiPresent::Init", "(step=%s, hr=0x%08X)", "CreateTexture2D(staging)", 0x8007000Eu);
      return nullptr;
    }
  }
  MapCurrent(*device);
  return device.release();
}

bool DeviceBeginFrame(PresentDevice& device, std::uint32_t*& pixels, std::uint32_t& rowPitch) {
  pixels = nullptr;
  rowPitch = 0;
  if (!MapCurrent(device)) return false;
  pixels = device.buffer[device.index].get();
  rowPitch = device.rowPitch[device.index];
  return true;
}

bool DevicePresent(PresentDevice& device) {
  device.mapped = false;
  if (!ShowInHeadlessWindow(device.window, CurrentPicture(device))) {
    TraceCall("TLR2::DxgiPresent::PresentSwapChain", "(Present hr=0x%08X)", 0x80004005u);
    return false;  // the index stays
  }
  device.index = (device.index + 1) % kBufferCount;
  if (MapCurrent(device)) return true;
  TraceCall("TLR2::DxgiPresent::PresentSwapChain", "(post-flip Map failed on staging[%d])", device.index);
  return false;
}

void DeviceShutdown(PresentDevice* device) {
  if (device == nullptr) return;
  // The picture last shown outlives its device.
  for (auto& buffer : device->buffer) KeepIfShown(device->window, buffer);
  delete device;
}

}  // namespace tlr2
