// The crash observer on Windows: a vectored handler, the last in its list, that never swallows a fault.
#include "platform/crash.h"

#include <windows.h>

#include <csignal>
#include <cstdlib>

#include "platform/fault_turn.h"
#include "platform/win32/fault_stack.h"

namespace tlr2 {
namespace {

void (*crashObserver)() = nullptr;
constinit FaultTurn turn;

// A thread that has used up its stack may have a page or two left, too little for the observer. One stack serves all
// threads: they take turns.
constexpr std::size_t kFaultStackBytes = 256 * 1024;
alignas(64) char faultStack[kFaultStackBytes];

void ObserveOnFaultStack() noexcept {
  char* const top = faultStack + sizeof faultStack;
#if defined(__x86_64__)
  __asm__ volatile(
      "movq %%rsp, %%rbx\n\t"
      "movq %0, %%rsp\n\t"
      "subq $32, %%rsp\n\t"  // room that the calling convention gives to every callee
      "call *%1\n\t"
      "movq %%rbx, %%rsp"
      :
      : "r"(top), "r"(crashObserver)
      : "rbx", "rax", "rcx", "rdx", "r8", "r9", "r10", "r11", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "memory",
        "cc");
#else
  __asm__ volatile(
      "movl %%esp, %%ebx\n\t"
      "movl %0, %%esp\n\t"
      "call *%1\n\t"
      "movl %%ebx, %%esp"
      :
      : "S"(top), "D"(crashObserver)
      : "ebx", "eax", "ecx", "edx", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "memory", "cc");
#endif
}

LONG CALLBACK CrashHandler(EXCEPTION_POINTERS* exception) {
  const DWORD code = exception->ExceptionRecord->ExceptionCode;
  const bool overflow = code == static_cast<DWORD>(EXCEPTION_STACK_OVERFLOW);
  if (code != static_cast<DWORD>(EXCEPTION_ACCESS_VIOLATION) &&
      code != static_cast<DWORD>(EXCEPTION_ILLEGAL_INSTRUCTION) && !overflow)
    return EXCEPTION_CONTINUE_SEARCH;
  if (turn.Take(GetCurrentThreadId())) {
    if (overflow) {
      ObserveOnFaultStack();
    } else {
      crashObserver();
    }
    turn.Give();
  }
  return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

void InstallCrashObserver(void (*observer)()) noexcept {
  crashObserver = observer;
  constexpr UINT kNoDialogs = SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX;
  SetErrorMode(kNoDialogs);
  SetThreadErrorMode(kNoDialogs, nullptr);
  _set_error_mode(_OUT_TO_STDERR);
  // Present in the system's C runtime, missing from the 32-bit import library.
  using SetAbortBehavior = unsigned(__cdecl*)(unsigned, unsigned);
  if (const HMODULE runtime = GetModuleHandleW(L"msvcrt.dll")) {
    const auto set =
        reinterpret_cast<SetAbortBehavior>(reinterpret_cast<void*>(GetProcAddress(runtime, "_set_abort_behavior")));
    if (set != nullptr) set(0, _WRITE_ABORT_MSG | _CALL_REPORTFAULT);
  }
  std::signal(SIGABRT, SIG_DFL);
  KeepStackForFaults();
  AddVectoredExceptionHandler(0, CrashHandler);
}

}  // namespace tlr2
