// The crash observer on POSIX systems: the same faults arrive as signals, and go on to whoever had them before.
#include "platform/crash.h"

#include <csignal>

#include "platform/fault_turn.h"
#include "platform/posix/fault_stack.h"
#include "platform/thread_block.h"

namespace tlr2 {
namespace {

constexpr int kFaults[] = {SIGSEGV, SIGBUS, SIGILL};

void (*crashObserver)() = nullptr;
struct sigaction previousAction[3];
constinit FaultTurn turn;

void PassOn(int signalNumber, siginfo_t* info, void* context, const struct sigaction& previous) {
  if ((previous.sa_flags & SA_SIGINFO) != 0) return previous.sa_sigaction(signalNumber, info, context);
  const bool sent = info->si_code <= 0;
  if (previous.sa_handler == SIG_IGN && sent) return;
  if (previous.sa_handler != SIG_DFL && previous.sa_handler != SIG_IGN) return previous.sa_handler(signalNumber);
  // The faulting instruction runs again on return and meets the system's own action; a signal that was sent has none.
  sigaction(signalNumber, &previous, nullptr);
  if (sent) raise(signalNumber);
}

void OnFault(int signalNumber, siginfo_t* info, void* context) {
  // The block's place is the thread's number. It is not entered here, which could mean to make something for it.
  if (turn.Take(reinterpret_cast<std::uintptr_t>(detail::ThreadGuardAtHand()))) {
    crashObserver();
    turn.Give();
  }
  for (int i = 0; i < 3; ++i) {
    if (kFaults[i] == signalNumber) return PassOn(signalNumber, info, context, previousAction[i]);
  }
}

}  // namespace

void InstallCrashObserver(void (*observer)()) noexcept {
  crashObserver = observer;
  GiveFaultStack();  // of the loading thread; others get theirs at their start or with their first call
  struct sigaction action = {};
  action.sa_sigaction = OnFault;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigemptyset(&action.sa_mask);
  for (int i = 0; i < 3; ++i) sigaction(kFaults[i], &action, &previousAction[i]);
}

}  // namespace tlr2
