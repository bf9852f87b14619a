// The message loop of a Windows process.
#include "platform/process.h"

#include <windows.h>

namespace tlr2 {

void PostProcessQuit() noexcept { PostQuitMessage(0); }

}  // namespace tlr2
