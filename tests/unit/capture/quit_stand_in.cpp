// Stands in for the end of the application's message loop, and counts how often it is asked for.
#include "capture_fixture.h"
#include "platform/process.h"

namespace tlr2 {

int quitsPosted = 0;

void PostProcessQuit() noexcept { ++quitsPosted; }

}  // namespace tlr2
