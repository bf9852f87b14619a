// The three status lines that the call summary and the trace print at their heads.
#pragma once

namespace tlr2 {

extern char isaStatusLine[192];          // empty until start-up has run
extern char threadsStatusLine[256];      // "[TLR2 threads = default (LPs minus producer)]" at load
extern char framebufferStatusLine[128];  // "[TLR2 framebuffer = not set]" at load

}  // namespace tlr2
