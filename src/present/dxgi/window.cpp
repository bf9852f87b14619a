// Windows and their device contexts.
#include <windows.h>

#include "present/device.h"

namespace tlr2 {

void* WindowOfDeviceContext(void* deviceContext) noexcept { return WindowFromDC(static_cast<HDC>(deviceContext)); }

bool WindowClientSize(void* window, std::int32_t& width, std::int32_t& height) noexcept {
  RECT client = {};
  if (GetClientRect(static_cast<HWND>(window), &client) == FALSE) return false;
  width = client.right - client.left;
  height = client.bottom - client.top;
  return true;
}

}  // namespace tlr2
