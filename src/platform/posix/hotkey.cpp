// No hotkey on a headless system.
#include "platform/hotkey.h"

namespace tlr2 {

bool CaptureHotkeyDown() noexcept { return false; }

}  // namespace tlr2
