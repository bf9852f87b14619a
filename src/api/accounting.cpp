// The process-wide words of call accounting.
#include "api/accounting.h"

namespace tlr2 {

Counter64 CallCounters[kEntryCount];

std::atomic<std::int32_t> currentFrame{0};
std::atomic<std::int32_t> traceFirstFrame{-1}, traceLastFrame{-1};
std::atomic<std::int32_t> captureFirstFrame{-1}, captureLastFrame{-1};

}  // namespace tlr2
