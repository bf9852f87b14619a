// Environment variables of a Windows process.
#include "platform/environment.h"

#include <windows.h>

namespace tlr2 {

std::uint32_t ReadEnvironment(const char* name, char* buffer, std::uint32_t size) noexcept {
  if (size == 0) return 0;
  const DWORD length = GetEnvironmentVariableA(name, buffer, size);
  if (length == 0 || length >= size) {  // unset or empty; or what it would need, the buffer then being undefined
    buffer[0] = '\0';
    return 0;
  }
  return length;
}

}  // namespace tlr2
