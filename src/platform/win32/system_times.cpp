// Processor times of the calling thread's group.
#include "platform/system_times.h"

#include <windows.h>

namespace tlr2 {

namespace {

std::uint64_t Ticks(const FILETIME& time) noexcept {
  return static_cast<std::uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

}  // namespace

bool ReadSystemTimes(SystemTimes& times) noexcept {
  FILETIME idle, kernel, user;
  if (GetSystemTimes(&idle, &kernel, &user) == FALSE) return false;
  times = {Ticks(idle), Ticks(kernel), Ticks(user)};
  return true;
}

}  // namespace tlr2
