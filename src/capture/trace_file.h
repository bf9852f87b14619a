// The trace file: opening, ending, and what a crash leaves in it.
#pragma once

#include <cstdint>

namespace tlr2 {

/// Opens a trace of frames `first` to `last`; ignored for first < 0 or last < first. `source` is "env" or "UI".
void OpenTrace(std::int32_t first, std::int32_t last, const char* source, bool quitWhenDone) noexcept;
bool TraceOpen() noexcept;
void EndTrace() noexcept;
/// Takes the quit flag: true once when the ended trace asked for it.
bool TakeTraceQuit() noexcept;
/// From the crash observer: pending lines and the marker, flushed. The file stays open.
void TraceCrashMarker() noexcept;

}  // namespace tlr2
