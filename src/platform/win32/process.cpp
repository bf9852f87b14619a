// A Windows process: its modules and its message loop.
#include "platform/process.h"

#include <windows.h>

namespace tlr2 {

void KeepModuleLoaded() noexcept {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                     reinterpret_cast<LPCWSTR>(&KeepModuleLoaded), &module);
}

void PostProcessQuit() noexcept { PostQuitMessage(0); }

}  // namespace tlr2
