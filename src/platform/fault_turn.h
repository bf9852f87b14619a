// Whose turn it is to write down a fault: one thread's at a time, and never from within the writing itself.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/clock.h"
#include "platform/thread.h"

namespace tlr2 {

class FaultTurn {
 public:
  /// False when `thread`, a number that is not 0, faults while it has the turn. While another has it, waits: that one's
  /// files would be cut short by the end of the process. Not for ever, since the other may be the one that hangs.
  bool Take(std::uintptr_t thread) noexcept {
    const std::int64_t until = TicksNow() + kLongestWaitSeconds * TicksPerSecond();
    for (std::uintptr_t nobody = 0; !holder_.compare_exchange_weak(nobody, thread, std::memory_order_acquire);) {
      if (nobody == thread || TicksNow() > until) return false;
      nobody = 0;
      SpinPause();
    }
    return true;
  }
  void Give() noexcept { holder_.store(0, std::memory_order_release); }

 private:
  static constexpr std::int64_t kLongestWaitSeconds = 2;
  std::atomic<std::uintptr_t> holder_{0};
};

}  // namespace tlr2
