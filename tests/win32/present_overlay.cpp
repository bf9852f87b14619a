// The overlay of a device.
#include "present_overlay.h"

#include "present/dxgi/dxgi_present.h"

namespace tlr2::test {

FpsOverlay& OverlayOf(PresentDevice& device) { return device.overlay; }

}  // namespace tlr2::test
