// Storage of the thread's block; the header reaches it without a call, but for a thread's first.
#include "platform/thread_block.h"

#include "platform/posix/fault_stack.h"

namespace tlr2 {

namespace {
thread_local bool met = false;
}

namespace detail {

constinit thread_local ThreadGuard threadGuard{nullptr, true, nullptr, nullptr};

void MeetThread() noexcept {
  if (met) return;
  met = true;
  threadGuard.suppress = false;
  GiveFaultStack();
}

}  // namespace detail

#if defined(__SANITIZE_ADDRESS__)
ThreadGuard& CurrentThreadGuard() noexcept {
  if (detail::threadGuard.suppress) [[unlikely]]
    detail::MeetThread();
  return detail::threadGuard;
}
#endif

}  // namespace tlr2
