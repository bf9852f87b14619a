// The DLL's entry point. It declares the one system function it needs: the window system's header declares the wgl
// entries as imports and may not meet code that exports them.
#include <cstdint>

#include "base/gl.h"
#include "start/library.h"

extern "C" {
__declspec(dllimport) int TLR2_STDCALL DisableThreadLibraryCalls(void* module);

int TLR2_STDCALL DllMain(void* module, std::uint32_t reason, void*) {
  constexpr std::uint32_t kProcessDetach = 0, kProcessAttach = 1;
  if (reason == kProcessAttach) {
    DisableThreadLibraryCalls(module);
    tlr2::LibraryStart();
  } else if (reason == kProcessDetach) {
    tlr2::LibraryEnd();
  }
  return 1;
}
}
