// A stack for faults: a thread that has used up its own can handle nothing on it.
#pragma once

#include <signal.h>

#include <cstddef>

namespace tlr2 {

inline constexpr std::size_t kFaultStackBytes = 128 * 1024;

/// Makes `memory` the calling thread's stack for fault handlers; leaves one alone that the thread already has.
inline bool SetFaultStack(void* memory) noexcept {
  stack_t present = {};
  if (sigaltstack(nullptr, &present) != 0 || (present.ss_flags & SS_DISABLE) == 0) return false;
  stack_t stack = {};
  stack.ss_sp = memory;
  stack.ss_size = kFaultStackBytes;
  return sigaltstack(&stack, nullptr) == 0;
}

inline void DropFaultStack() noexcept {
  stack_t none = {};
  none.ss_flags = SS_DISABLE;
  sigaltstack(&none, nullptr);
}

}  // namespace tlr2
