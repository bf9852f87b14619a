// Contexts: little more than a surface for a device context, since all GL state is the process's.
#pragma once

#include "present/surface.h"

namespace tlr2 {

struct ContextRecord {
  void* hdc = nullptr;
  Surface surface;
};

/// Registered by the library start: starts the control panel for a window, once a process.
extern void (*panelStarter)(void* window);

/// Makes a context for `hdc`; null without a window or when the surface fails.
ContextRecord* ContextCreate(void* hdc);
/// Destroys the surface and frees the context. No thread may have it current any more, save by mistake.
void ContextDestroy(ContextRecord* context);
/// The calling thread's context, or null.
ContextRecord* CurrentContext() noexcept;

}  // namespace tlr2
