// A POSIX process.
#include "platform/process.h"

namespace tlr2 {

void PostProcessQuit() noexcept {}  // no message loop to end

}  // namespace tlr2
