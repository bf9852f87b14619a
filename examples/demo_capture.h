// Asking the driver for a capture. It reads its environment when it is loaded, which is before main: the demo therefore
// starts itself again with the environment set.
#pragma once

#include "demo_arguments.h"

namespace demo {

/// With a capture asked for and not yet in the environment: runs the program again with it there, and returns that
/// run's exit code. Otherwise -1, to go on.
int RunAgainForCapture(const Arguments& arguments, char** values);

}  // namespace demo
