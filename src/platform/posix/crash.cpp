// The crash observer on POSIX systems: the same faults arrive as signals, and go on to whoever had them before.
#include "platform/crash.h"

#include <csignal>
#include <cstdlib>

namespace tlr2 {
namespace {

constexpr int kFaults[] = {SIGSEGV, SIGBUS, SIGILL};
constexpr std::size_t kAlternateStackBytes = 256 * 1024;

void (*crashObserver)() = nullptr;
struct sigaction previousAction[3];

void OnFault(int signalNumber, siginfo_t*, void*) {
  // Put the earlier disposition back first: a second fault inside the observer must not come here again, and the
  // faulting instruction runs again on return and then meets it.
  for (int i = 0; i < 3; ++i) {
    if (kFaults[i] == signalNumber) sigaction(signalNumber, &previousAction[i], nullptr);
  }
  crashObserver();
}

}  // namespace

void InstallCrashObserver(void (*observer)()) noexcept {
  crashObserver = observer;
  // A stack overflow leaves no stack to handle it on; the loading thread gets an alternate one for good.
  stack_t present = {};
  if (sigaltstack(nullptr, &present) == 0 && (present.ss_flags & SS_DISABLE) != 0) {
    stack_t stack = {};
    stack.ss_sp = std::malloc(kAlternateStackBytes);
    stack.ss_size = kAlternateStackBytes;
    if (stack.ss_sp != nullptr) sigaltstack(&stack, nullptr);
  }
  struct sigaction action = {};
  action.sa_sigaction = OnFault;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigemptyset(&action.sa_mask);
  for (int i = 0; i < 3; ++i) sigaction(kFaults[i], &action, &previousAction[i]);
}

}  // namespace tlr2
