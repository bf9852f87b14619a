// A hook that draws over the finished picture just before it is shown.
#pragma once

#include <cstdint>

namespace tlr2 {

/// `backBuffer` is the device's own surface object (an IDXGISurface with Direct3D), valid during the call only.
using OverlayHook = void (*)(void* backBuffer, std::int32_t windowWidth, std::int32_t windowHeight, void* user);

/// Process-wide; null takes the hook away. Called by the thread that shows frames.
void SetOverlayHook(OverlayHook hook, void* user) noexcept;

}  // namespace tlr2
