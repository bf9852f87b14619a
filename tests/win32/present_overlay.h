// The overlay of a device, for tests that may not see the window system's headers.
#pragma once

#include "present/dxgi/fps_overlay.h"

namespace tlr2::test {

FpsOverlay& OverlayOf(PresentDevice& device);

}  // namespace tlr2::test
