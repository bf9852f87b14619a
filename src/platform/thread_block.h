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
ThreadGuard& CurrentThreadGuard() noexcept;

}  // namespace tlr2
