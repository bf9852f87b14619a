// The capture hotkey, Ctrl+Shift+F7.
#pragma once

namespace tlr2 {

/// All three keys are down now. False on systems without a way to poll the keyboard.
bool CaptureHotkeyDown() noexcept;

}  // namespace tlr2
