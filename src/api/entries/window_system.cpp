// The wgl entries with work of their own: contexts, the one pixel format, swaps. None records but the swap.
#include "api/entries/entry_frame.h"
#include "api/state/keyframe.h"
#include "wgl/context.h"
#include "wgl/frame_boundary.h"

namespace tlr2 {

namespace {

/// The window system's pixel format descriptor, as published.
struct PixelFormatDescriptor {
  std::uint16_t size, version;
  std::uint32_t flags;
  std::uint8_t pixelType, colorBits, redBits, redShift, greenBits, greenShift, blueBits, blueShift, alphaBits,
      alphaShift, accumBits, accumRedBits, accumGreenBits, accumBlueBits, accumAlphaBits, depthBits, stencilBits,
      auxBuffers, layerType, reserved;
  std::uint32_t layerMask, visibleMask, damageMask;
};
static_assert(sizeof(PixelFormatDescriptor) == 40 && offsetof(PixelFormatDescriptor, depthBits) == 23);

/// To a window, with this interface, double-buffered.
constexpr std::uint32_t kFormatFlags = 0x4 | 0x20 | 0x1;

}  // namespace

WglInt TLR2_STDCALL wglDescribePixelFormat(void* hdc, WglInt iPixelFormat, WglUint nBytes, void* ppfd) noexcept {
  enter::wglDescribePixelFormat(hdc, iPixelFormat, nBytes, ppfd);
  if (ppfd != nullptr && nBytes >= sizeof(PixelFormatDescriptor)) {
    PixelFormatDescriptor format = {};
    format.size = sizeof format;
    format.version = 1;
    format.flags = kFormatFlags;
    format.colorBits = 32;
    format.redBits = format.greenBits = format.blueBits = format.alphaBits = 8;
    format.depthBits = 24;
    std::memcpy(ppfd, &format, sizeof format);
  }
  return 1;
}

void* TLR2_STDCALL wglCreateContext(void* hdc) noexcept {
  enter::wglCreateContext(hdc);
  return ContextCreate(hdc);
}

// Counted and traced beside the entry it calls.
void* TLR2_STDCALL wglCreateLayerContext(void* hdc, WglInt iLayerPlane) noexcept {
  enter::wglCreateLayerContext(hdc, iLayerPlane);
  return iLayerPlane != 0 ? nullptr : wglCreateContext(hdc);
}

WglBool TLR2_STDCALL wglDeleteContext(void* hglrc) noexcept {
  ThreadGuard& guard = enter::wglDeleteContext(hglrc);
  if (hglrc == nullptr) return 0;
  // Another thread's current context is left dangling there.
  if (guard.currentContext == hglrc) guard.currentContext = nullptr;
  ContextDestroy(static_cast<ContextRecord*>(hglrc));
  return 1;
}

WglBool TLR2_STDCALL wglMakeCurrent(void* hdc, void* hglrc) noexcept {
  ThreadGuard& guard = enter::wglMakeCurrent(hdc, hglrc);
  guard.currentContext = static_cast<ContextRecord*>(hglrc);
  if (hglrc != nullptr && CommandStreamInstance().bytes.empty()) TakeKeyframe();
  return 1;
}

void* TLR2_STDCALL wglGetCurrentContext() noexcept { return enter::wglGetCurrentContext().currentContext; }

void* TLR2_STDCALL wglGetCurrentDC() noexcept {
  const ContextRecord* context = enter::wglGetCurrentDC().currentContext;
  return context != nullptr ? context->hdc : nullptr;
}

WglBool TLR2_STDCALL wglSwapBuffers(void* hdc) noexcept {
  enter::wglSwapBuffers(hdc);
  SwapFrame(hdc);
  return 1;
}

// Counted and traced beside the entry it calls, whatever planes are asked for.
WglBool TLR2_STDCALL wglSwapLayerBuffers(void* hdc, WglMask fuPlanes) noexcept {
  enter::wglSwapLayerBuffers(hdc, fuPlanes);
  return wglSwapBuffers(hdc);
}

}  // namespace tlr2
