// Environment variables.
#pragma once

#include <cstdint>

namespace tlr2 {

/// Copies variable `name` with its terminating zero into `buffer`. Returns its length, or 0 when it is unset, empty
/// or does not fit `size` bytes with the zero; the buffer then holds the empty string.
std::uint32_t ReadEnvironment(const char* name, char* buffer, std::uint32_t size) noexcept;

}  // namespace tlr2
