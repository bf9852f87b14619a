// The crash observer on Windows: a vectored handler, the last in its list, that never swallows a fault.
#include "platform/crash.h"

#include <windows.h>

#include <csignal>
#include <cstdlib>

namespace tlr2 {
namespace {

void (*crashObserver)() = nullptr;

LONG CALLBACK CrashHandler(EXCEPTION_POINTERS* exception) {
  switch (exception->ExceptionRecord->ExceptionCode) {
    case EXCEPTION_ACCESS_VIOLATION:
    case EXCEPTION_ILLEGAL_INSTRUCTION:
    case EXCEPTION_STACK_OVERFLOW:
      crashObserver();
      break;
    default:
      break;
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
  AddVectoredExceptionHandler(0, CrashHandler);
}

}  // namespace tlr2
