// The status lines' texts at load.
#include "settings/status.h"

namespace tlr2 {

char isaStatusLine[192] = "";
char threadsStatusLine[256] = "[TLR2 threads = default (LPs minus producer)]";
char framebufferStatusLine[128] = "[TLR2 framebuffer = not set]";

}  // namespace tlr2
