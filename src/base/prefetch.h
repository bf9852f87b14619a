// Asking for memory ahead of its use.
#pragma once

namespace tlr2 {

/// Asks for the line as one to be written. Compiled for the baseline, the built-in form asks for one to be read, which
/// the first store would have to ask for once more. Of the processors that a kernel runs on, those without the
/// instruction take it for none.
inline void PrefetchToWrite(const void* line) noexcept {
  __asm__ volatile("prefetchw %0" : : "m"(*static_cast<const char*>(line)));
}

}  // namespace tlr2
