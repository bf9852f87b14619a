// The thread's own block: zero at thread start, reached by every entry through the platform's fastest slot.
#pragma once

namespace tlr2 {

struct ContextRecord;
struct ProfileNode;

struct ThreadGuard {
  ContextRecord* currentContext;
  bool suppress;  // nothing sets it: the one per-thread switch that turns accounting off
  ProfileNode* profileRoot;
  ProfileNode* profileCursor;
};

/// The calling thread's block; made zeroed at the thread's first call.
#if defined(_WIN32)
ThreadGuard& CurrentThreadGuard() noexcept;
#else
namespace detail {
// Initial-exec: one add to the thread register instead of a call, also from the shared library. The block is small
// enough for the room that the loader keeps for libraries opened later.
extern constinit thread_local ThreadGuard threadGuard __attribute__((tls_model("initial-exec")));
}  // namespace detail
inline ThreadGuard& CurrentThreadGuard() noexcept { return detail::threadGuard; }
#endif

}  // namespace tlr2
