// Environment variables of a POSIX process.
#include "platform/environment.h"

#include <cstdlib>
#include <cstring>

namespace tlr2 {

std::uint32_t ReadEnvironment(const char* name, char* buffer, std::uint32_t size) noexcept {
  if (size == 0) return 0;
  buffer[0] = '\0';
  const char* value = std::getenv(name);
  if (value == nullptr) return 0;
  const std::size_t length = std::strlen(value);
  if (length >= size) return 0;
  std::memcpy(buffer, value, length + 1);
  return static_cast<std::uint32_t>(length);
}

}  // namespace tlr2
