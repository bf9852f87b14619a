// Processor times from the first line of the kernel's statistics, in clock ticks of all processors.
#include "platform/system_times.h"

#include <fcntl.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdio>

namespace tlr2 {

bool ReadSystemTimes(SystemTimes& times) noexcept {
  const int file = open("/proc/stat", O_RDONLY | O_CLOEXEC);
  if (file < 0) return false;
  char line[256];
  const ssize_t length = read(file, line, sizeof line - 1);
  close(file);
  if (length <= 0) return false;
  line[length] = '\0';
  std::uint64_t user = 0, nice = 0, system = 0, idle = 0, wait = 0, interrupt = 0, softInterrupt = 0, stolen = 0;
  if (std::sscanf(line,
                  "cpu %" SCNu64 " %" SCNu64 " %" SCNu64 " %" SCNu64 " %" SCNu64 " %" SCNu64 " %" SCNu64 " %" SCNu64,
                  &user, &nice, &system, &idle, &wait, &interrupt, &softInterrupt, &stolen) < 4)
    return false;
  idle += wait;
  times = {idle, system + interrupt + softInterrupt + stolen + idle, user + nice};
  return true;
}

}  // namespace tlr2
