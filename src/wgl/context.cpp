// Making, ending and choosing contexts.
#include "wgl/context.h"

#include <new>

#include "frame/surface_cover.h"
#include "platform/thread_block.h"

namespace tlr2 {

void (*panelStarter)(void* window) = nullptr;

namespace {

void CoverContextSurface(ContextRecord* context, std::int32_t width, std::int32_t height) {
  SurfaceEnsureSize(context->surface, width, height, context->hdc);
}

}  // namespace

ContextRecord* ContextCreate(void* hdc) {
  constexpr std::int32_t kDefaultWidth = 640, kDefaultHeight = 480;
  auto* context = new (std::nothrow) ContextRecord;
  if (context == nullptr) return nullptr;
  context->hdc = hdc;
  void* window = WindowOfDeviceContext(hdc);
  std::int32_t width = kDefaultWidth, height = kDefaultHeight;
  if (window != nullptr && WindowClientSize(window, width, height)) {
    if (width < 1) width = kDefaultWidth;
    if (height < 1) height = kDefaultHeight;
  } else {
    width = kDefaultWidth;
    height = kDefaultHeight;
  }
  if (!SurfaceCreate(context->surface, width, height, window)) {
    SurfaceDestroy(context->surface);
    delete context;
    return nullptr;
  }
  RegisterSurfaceCover(CoverContextSurface);
  if (panelStarter != nullptr) panelStarter(window);
  return context;
}

void ContextDestroy(ContextRecord* context) {
  if (context == nullptr) return;
  SurfaceDestroy(context->surface);
  delete context;
}

ContextRecord* CurrentContext() noexcept { return CurrentThreadGuard().currentContext; }

}  // namespace tlr2
