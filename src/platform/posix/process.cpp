// A POSIX process.
#include "platform/process.h"

namespace tlr2 {

void KeepModuleLoaded() noexcept {}  // the shared object is linked so that closing leaves it

void PostProcessQuit() noexcept {}  // no message loop to end

}  // namespace tlr2
