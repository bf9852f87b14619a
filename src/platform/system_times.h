// How long the processors have been idle and busy since the system's start.
#pragma once

#include <cstdint>

namespace tlr2 {

/// In one unit, whichever the system has; `kernel` contains `idle`.
struct SystemTimes {
  std::uint64_t idle = 0, kernel = 0, user = 0;
};

/// Sums over the processors that the calling thread's group has; false when the system does not tell.
bool ReadSystemTimes(SystemTimes& times) noexcept;

}  // namespace tlr2
