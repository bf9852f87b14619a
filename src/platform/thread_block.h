// The thread's own block: zero at thread start, reached by every entry through the platform's fastest slot.
#pragma once

#include <atomic>
#include <cstdint>

namespace tlr2 {

struct ContextRecord;
struct ProfileNode;

struct ThreadGuard {
  ContextRecord* currentContext;
  bool suppress;  // the per-thread switch that turns accounting off; false for every caller unless someone sets it
  ProfileNode* profileRoot;
  ProfileNode* profileCursor;
};

/// The calling thread's block; made zeroed at the thread's first call.
#if defined(_WIN32)
namespace detail {
// Where the slot lies in the thread's environment block; 0 while there is no slot, or none that can be read directly.
extern constinit std::atomic<std::uint32_t> threadSlotOffset;
ThreadGuard& ReachThreadGuard() noexcept;
inline ThreadGuard* ReadThreadSlot(std::uint32_t offset) noexcept {
  ThreadGuard* guard;
#if defined(__x86_64__)
  __asm__ volatile("movq %%gs:(%1), %0" : "=r"(guard) : "r"(static_cast<std::uint64_t>(offset)));
#else
  __asm__ volatile("movl %%fs:(%1), %0" : "=r"(guard) : "r"(offset));
#endif
  return guard;
}
/// The block if it can be had without a call, else null.
inline ThreadGuard* ThreadGuardAtHand() noexcept {
  const std::uint32_t offset = threadSlotOffset.load(std::memory_order_relaxed);
  return offset != 0 ? ReadThreadSlot(offset) : nullptr;
}
}  // namespace detail
inline ThreadGuard& CurrentThreadGuard() noexcept {
  ThreadGuard* guard = detail::ThreadGuardAtHand();
  return guard != nullptr ? *guard : detail::ReachThreadGuard();
}
#else
namespace detail {
// Initial-exec: one add to the thread register instead of a call, also from the shared library. The block is small
// enough for the room that the loader keeps for libraries opened later.
// A thread that never came in has `suppress` set, which every entry looks at in any case: so a thread's first call is
// told from the others without a question of its own.
extern constinit thread_local ThreadGuard threadGuard __attribute__((tls_model("initial-exec")));
/// What a thread's first call does; nothing at any later one.
void MeetThread() noexcept;
/// As it stands: possibly of a thread that never came in.
inline ThreadGuard* ThreadGuardAtHand() noexcept { return &threadGuard; }
}  // namespace detail
#if defined(__SANITIZE_ADDRESS__)
/// Out of line: GCC 12's null check of a thread-local's address reads the wrong register where this is inlined.
ThreadGuard& CurrentThreadGuard() noexcept;
#else
inline ThreadGuard& CurrentThreadGuard() noexcept {
  if (detail::threadGuard.suppress) [[unlikely]]
    detail::MeetThread();
  return detail::threadGuard;
}
#endif
#endif

}  // namespace tlr2
