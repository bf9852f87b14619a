// Headless windows: their table, what they show, and the public interface to them.
#include "present/headless/window.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>
#include <vector>

#include "platform/float_rules.h"
#include "platform/sync.h"
#include "present/device.h"
#include "present/headless/post_process.h"
#include "tlr2/headless.h"

namespace tlr2 {
namespace {

/// Of the table and of what each window shows. A look holds it to its end, so that whoever shows the next picture, and
/// then draws over this one, waits for it.
CriticalSection windowsLock;

std::vector<std::unique_ptr<HeadlessWindow>>& Windows() {
  static auto* windows = new std::vector<std::unique_ptr<HeadlessWindow>>;  // outlives every static user
  return *windows;
}

/// By address alone: applications pass all sorts of values as device contexts. The caller holds the lock.
HeadlessWindow* Find(void* handle) noexcept {
  for (const auto& window : Windows())
    if (window.get() == handle) return window.get();
  return nullptr;
}

std::size_t PixelCount(const ShownPicture& shown) noexcept {
  return static_cast<std::size_t>(shown.width) * static_cast<std::size_t>(shown.height);
}

/// The first `count` pixels of the picture, tight.
void CopyAdjusted(const ShownPicture& shown, std::uint32_t* out, std::size_t count) noexcept {
  const auto* row = reinterpret_cast<const std::uint8_t*>(shown.pixels);
  while (count != 0) {
    const std::size_t pixels = std::min(count, static_cast<std::size_t>(shown.width));
    PostProcessPixels(shown.constants, reinterpret_cast<const std::uint32_t*>(row), out, pixels);
    row += shown.rowPitch;
    out += pixels;
    count -= pixels;
  }
}

}  // namespace

HeadlessWindow* FindHeadlessWindow(void* handle) noexcept {
  const LockHolder hold(windowsLock);
  return Find(handle);
}

bool ShowInHeadlessWindow(void* handle, const ShownPicture& picture) noexcept {
  ColorBuffer superseded;  // freed behind the lock
  const LockHolder hold(windowsLock);
  HeadlessWindow* window = Find(handle);
  if (window == nullptr || window->failPresent) return false;
  superseded = std::move(window->kept);
  window->shown = picture;
  ++window->pictureCount;
  return true;
}

void KeepIfShown(void* handle, ColorBuffer& buffer) noexcept {
  const LockHolder hold(windowsLock);
  // By its pixels: another device may have shown a picture there since, and a window may have the handle of an ended
  // one.
  HeadlessWindow* window = Find(handle);
  if (window != nullptr && buffer != nullptr && window->shown.pixels == buffer.get()) window->kept = std::move(buffer);
}

void* WindowOfDeviceContext(void* deviceContext) noexcept { return FindHeadlessWindow(deviceContext); }

bool WindowClientSize(void* window, std::int32_t& width, std::int32_t& height) noexcept {
  const LockHolder hold(windowsLock);
  const HeadlessWindow* found = Find(window);
  if (found == nullptr) return false;
  width = found->clientWidth;
  height = found->clientHeight;
  return true;
}

}  // namespace tlr2

using tlr2::HeadlessWindow;
using tlr2::LockHolder;

void* tlr2HeadlessCreateWindow(int32_t width, int32_t height) {
  if (width <= 0 || height <= 0) return nullptr;
  std::unique_ptr<HeadlessWindow> window(new (std::nothrow) HeadlessWindow);
  if (window == nullptr) return nullptr;
  window->clientWidth = width;
  window->clientHeight = height;
  void* handle = window.get();
  const LockHolder hold(tlr2::windowsLock);
  tlr2::Windows().push_back(std::move(window));
  return handle;
}

void tlr2HeadlessDestroyWindow(void* hdc) {
  const LockHolder hold(tlr2::windowsLock);
  auto& windows = tlr2::Windows();
  windows.erase(
      std::remove_if(windows.begin(), windows.end(), [hdc](const auto& window) { return window.get() == hdc; }),
      windows.end());
}

int32_t tlr2HeadlessResizeWindow(void* hdc, int32_t width, int32_t height) {
  const LockHolder hold(tlr2::windowsLock);
  HeadlessWindow* window = tlr2::Find(hdc);
  if (window == nullptr || width <= 0 || height <= 0) return 0;
  window->clientWidth = width;
  window->clientHeight = height;
  return 1;
}

int32_t tlr2HeadlessPictureSize(void* hdc, int32_t* width, int32_t* height) {
  const LockHolder hold(tlr2::windowsLock);
  const HeadlessWindow* window = tlr2::Find(hdc);
  if (window == nullptr) return 0;
  if (width != nullptr) *width = window->shown.width;
  if (height != nullptr) *height = window->shown.height;
  return 1;
}

uint32_t tlr2HeadlessCopyPicture(void* hdc, uint32_t* pixels, uint32_t pixelCount) {
  const tlr2::FloatRules rules;  // the thread that looks may have set its own
  const LockHolder hold(tlr2::windowsLock);
  const HeadlessWindow* window = tlr2::Find(hdc);
  if (window == nullptr) return 0;
  const std::size_t all = tlr2::PixelCount(window->shown);
  if (pixels != nullptr) tlr2::CopyAdjusted(window->shown, pixels, std::min<std::size_t>(pixelCount, all));
  return static_cast<uint32_t>(all);
}

uint32_t tlr2HeadlessPictureCount(void* hdc) {
  const LockHolder hold(tlr2::windowsLock);
  const HeadlessWindow* window = tlr2::Find(hdc);
  return window == nullptr ? 0 : window->pictureCount;
}
