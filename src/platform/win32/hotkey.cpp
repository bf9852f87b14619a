// The capture hotkey on Windows.
#include "platform/hotkey.h"

#include <windows.h>

namespace tlr2 {

bool CaptureHotkeyDown() noexcept {
  return (GetAsyncKeyState(VK_CONTROL) & 0x8000) != 0 && (GetAsyncKeyState(VK_SHIFT) & 0x8000) != 0 &&
         (GetAsyncKeyState(VK_F7) & 0x8000) != 0;
}

}  // namespace tlr2
