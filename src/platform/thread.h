// Threads of the operating system.
#pragma once

#include <cstdint>

namespace tlr2 {

using ThreadMain = void (*)(void* argument);

struct ThreadHandle {
  void* native = nullptr;  // null: no thread
  std::uint32_t id = 0;
};

/// Starts a thread with the default stack size; false when the system refuses. Callable at library load.
bool ThreadStart(ThreadHandle& thread, ThreadMain main, void* argument) noexcept;
/// Waits until the thread has ended, at most `timeoutMs` milliseconds (kNoTimeout: without limit). True if it ended.
bool ThreadWait(const ThreadHandle& thread, std::uint32_t timeoutMs) noexcept;
/// Ends a thread by force where the system can, else leaves it alone.
void ThreadTerminate(const ThreadHandle& thread) noexcept;
/// Gives the handle back. On systems where a thread must be joined, detaches it if it still runs.
void ThreadClose(ThreadHandle& thread) noexcept;
/// Binds the calling thread to the processors of `mask` in `group`.
void ThreadPinCurrent(std::uint16_t group, std::uint64_t mask) noexcept;
/// Names the processor that the calling thread prefers.
void ThreadPreferCurrent(std::uint16_t group, std::uint8_t index) noexcept;

inline constexpr std::uint32_t kNoTimeout = 0xFFFFFFFFu;

/// The `pause` of a spin loop.
inline void SpinPause() noexcept { __builtin_ia32_pause(); }

}  // namespace tlr2
