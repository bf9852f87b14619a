// Faults of the process: an observer sees an access violation, an illegal instruction or a stack overflow before the
// process dies of it as it would have without the driver.
#pragma once

namespace tlr2 {

/// Turns error dialogs off and installs `observer`, which runs on the faulting thread with whatever stack is left.
/// The fault is always passed on. Call once.
void InstallCrashObserver(void (*observer)()) noexcept;

}  // namespace tlr2
