// What a command may take of the machine: memory and time. A file from anywhere can ask for more than there is.
#pragma once

#include <atomic>
#include <cstdint>

namespace tlr2::tool {

inline constexpr std::uint32_t kDefaultMaxMemoryMiB = sizeof(void*) == 4 ? 1024 : 4096;
inline constexpr std::uint32_t kDefaultMaxSeconds = 600;

/// From here on more than `maxMemoryMiB` of heap, or more than `maxSeconds` of time, end the program with exit code 4
/// and a message that names the option. 0 is no limit.
void BeginLimits(std::uint32_t maxMemoryMiB, std::uint32_t maxSeconds);
/// Joins the clock's thread.
void EndLimits() noexcept;

/// Files that must not outlive a program that ends early. Both are safe on any thread.
void RemoveAtEarlyEnd(const char* path) noexcept;
void KeepAtEarlyEnd(const char* path) noexcept;

namespace detail {
/// Kept by the counting allocation functions of the program.
extern std::atomic<std::uint64_t> heapBytes, heapLimit;
[[noreturn]] void EndForMemory() noexcept;
}  // namespace detail

}  // namespace tlr2::tool
