// Call accounting: a counter and a name for each of the 363 exported base names, and the frame numbers that trace and
// capture ranges compare against.
#pragma once

#include <atomic>
#include <cstdint>

#include "base/atomic64.h"

namespace tlr2 {

inline constexpr int kEntryCount = 363;

extern Counter64 CallCounters[kEntryCount];
extern const char* const EntryNames[kEntryCount];

/// Completed frame boundaries. Raised by the swap alone.
extern std::atomic<std::int32_t> currentFrame;
/// Inclusive ranges; a negative first value means none.
extern std::atomic<std::int32_t> traceFirstFrame, traceLastFrame;
extern std::atomic<std::int32_t> captureFirstFrame, captureLastFrame;

inline bool TraceActive() noexcept {
  const std::int32_t first = traceFirstFrame.load(std::memory_order_relaxed);
  if (first < 0) [[likely]]
    return false;
  const std::int32_t frame = currentFrame.load(std::memory_order_relaxed);
  return first <= frame && frame <= traceLastFrame.load(std::memory_order_relaxed);
}

}  // namespace tlr2
