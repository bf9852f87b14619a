// Windows threads.
#include "platform/thread.h"

#include <windows.h>

#include "platform/win32/fault_stack.h"

namespace tlr2 {

namespace {

struct StartArgument {
  ThreadMain main;
  void* argument;
};

// The record comes from the process heap, so that starting a thread needs nothing of the C runtime.
DWORD WINAPI RunThread(void* pointer) {
  const StartArgument start = *static_cast<StartArgument*>(pointer);
  HeapFree(GetProcessHeap(), 0, pointer);
  KeepStackForFaults();
  start.main(start.argument);
  return 0;
}

}  // namespace

bool ThreadStart(ThreadHandle& thread, ThreadMain main, void* argument) noexcept {
  static_assert(kNoTimeout == INFINITE);
  thread = {};
  auto* start = static_cast<StartArgument*>(HeapAlloc(GetProcessHeap(), 0, sizeof(StartArgument)));
  if (start == nullptr) return false;
  *start = {main, argument};
  DWORD id = 0;
  thread.native = CreateThread(nullptr, 0, RunThread, start, 0, &id);
  if (thread.native == nullptr) {
    HeapFree(GetProcessHeap(), 0, start);
    return false;
  }
  thread.id = id;
  return true;
}

bool ThreadWait(const ThreadHandle& thread, std::uint32_t timeoutMs) noexcept {
  return thread.native == nullptr || WaitForSingleObject(thread.native, timeoutMs) == WAIT_OBJECT_0;
}

void ThreadTerminate(const ThreadHandle& thread) noexcept {
  if (thread.native != nullptr) TerminateThread(thread.native, 0);
}

void ThreadClose(ThreadHandle& thread) noexcept {
  if (thread.native != nullptr) CloseHandle(thread.native);
  thread = {};
}

void ThreadPinCurrent(std::uint16_t group, std::uint64_t mask) noexcept {
  GROUP_AFFINITY affinity{};
  affinity.Group = group;
  affinity.Mask = static_cast<KAFFINITY>(mask);
  SetThreadGroupAffinity(GetCurrentThread(), &affinity, nullptr);
}

void ThreadPreferCurrent(std::uint16_t group, std::uint8_t index) noexcept {
  PROCESSOR_NUMBER number{};
  number.Group = group;
  number.Number = index;
  SetThreadIdealProcessorEx(GetCurrentThread(), &number, nullptr);
}

}  // namespace tlr2
