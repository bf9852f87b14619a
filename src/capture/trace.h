// The trace of calls.
#pragma once

namespace tlr2 {

/// Writes one line for a call in a traced frame; nothing unless a trace file is open.
void TraceCall(const char* name, const char* format, ...) noexcept
#if defined(__MINGW32__)
    __attribute__((format(gnu_printf, 2, 3)));
#else
    __attribute__((format(printf, 2, 3)));
#endif

}  // namespace tlr2
