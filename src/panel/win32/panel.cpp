// The life of the panel's thread.
#include "panel/panel.h"

#include <atomic>

#include "panel/win32/panel_window.h"
#include "platform/thread.h"

namespace tlr2 {

namespace {

// Stays set when the user closes the panel: it opens once a process.
std::atomic<bool> running{false};
ThreadHandle thread;

void PanelThread(void* parent) { RunPanel(static_cast<HWND>(parent)); }

}  // namespace

void ControlPanelStart(void* window) {
  if (running.exchange(true)) return;
  if (!ThreadStart(thread, PanelThread, window)) running.store(false);
}

void ControlPanelStop() {
  if (!running.load()) return;
  if (thread.id != 0) PostThreadMessageW(thread.id, WM_QUIT, 0, 0);
  ThreadClose(thread);
  running.store(false);
}

}  // namespace tlr2
