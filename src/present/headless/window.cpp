// Headless windows: their table and the public interface to them.
#include "present/headless/window.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "platform/sync.h"
#include "present/device.h"
#include "tlr2/headless.h"

namespace tlr2 {
namespace {

CriticalSection windowsLock;

std::vector<std::unique_ptr<HeadlessWindow>>& Windows() {
  static auto* windows = new std::vector<std::unique_ptr<HeadlessWindow>>;  // outlives every static user
  return *windows;
}

}  // namespace

HeadlessWindow* FindHeadlessWindow(void* handle) noexcept {
  if (handle == nullptr) return nullptr;
  const LockHolder hold(windowsLock);
  // By address alone: applications pass all sorts of values as device contexts.
  for (const auto& window : Windows())
    if (window.get() == handle) return window.get();
  return nullptr;
}

void* WindowOfDeviceContext(void* deviceContext) noexcept { return FindHeadlessWindow(deviceContext); }

bool WindowClientSize(void* window, std::int32_t& width, std::int32_t& height) noexcept {
  const HeadlessWindow* found = FindHeadlessWindow(window);
  if (found == nullptr) return false;
  width = found->clientWidth;
  height = found->clientHeight;
  return true;
}

}  // namespace tlr2

using tlr2::FindHeadlessWindow;
using tlr2::HeadlessWindow;

void* tlr2HeadlessCreateWindow(int32_t width, int32_t height) {
  if (width <= 0 || height <= 0) return nullptr;
  std::unique_ptr<HeadlessWindow> window(new (std::nothrow) HeadlessWindow);
  if (window == nullptr) return nullptr;
  window->clientWidth = width;
  window->clientHeight = height;
  void* handle = window.get();
  const tlr2::LockHolder hold(tlr2::windowsLock);
  tlr2::Windows().push_back(std::move(window));
  return handle;
}

void tlr2HeadlessDestroyWindow(void* hdc) {
  const tlr2::LockHolder hold(tlr2::windowsLock);
  auto& windows = tlr2::Windows();
  windows.erase(
      std::remove_if(windows.begin(), windows.end(), [hdc](const auto& window) { return window.get() == hdc; }),
      windows.end());
}

int32_t tlr2HeadlessResizeWindow(void* hdc, int32_t width, int32_t height) {
  HeadlessWindow* window = FindHeadlessWindow(hdc);
  if (window == nullptr || width <= 0 || height <= 0) return 0;
  window->clientWidth = width;
  window->clientHeight = height;
  return 1;
}

int32_t tlr2HeadlessPictureSize(void* hdc, int32_t* width, int32_t* height) {
  const HeadlessWindow* window = FindHeadlessWindow(hdc);
  if (window == nullptr) return 0;
  if (width != nullptr) *width = window->pictureWidth;
  if (height != nullptr) *height = window->pictureHeight;
  return 1;
}

uint32_t tlr2HeadlessCopyPicture(void* hdc, uint32_t* pixels, uint32_t pixelCount) {
  const HeadlessWindow* window = FindHeadlessWindow(hdc);
  if (window == nullptr) return 0;
  const std::size_t count = std::min<std::size_t>(pixelCount, window->picture.size());
  if (pixels != nullptr && count != 0) std::memcpy(pixels, window->picture.data(), count * sizeof(std::uint32_t));
  return static_cast<uint32_t>(window->picture.size());
}

uint32_t tlr2HeadlessPictureCount(void* hdc) {
  const HeadlessWindow* window = FindHeadlessWindow(hdc);
  return window == nullptr ? 0 : window->pictureCount;
}
