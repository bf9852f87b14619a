// Stands in for the platform's hotkey poll: this object comes ahead of the library that has the real one.
#include "capture_fixture.h"
#include "platform/hotkey.h"

namespace tlr2 {

bool hotkeyHeld = false;

bool CaptureHotkeyDown() noexcept { return hotkeyHeld; }

}  // namespace tlr2
