// What a process holds: counted before and after something that should leave nothing behind.
#pragma once

// clang-format off
#include <windows.h>  // the others need its types
#include <psapi.h>
#include <tlhelp32.h>
// clang-format on

#include <cstddef>

namespace tlr2::test {

struct ProcessCounts {
  int threads = 0;
  int handles = 0;
  int gdiObjects = 0, userObjects = 0;
  std::size_t privateBytes = 0;
};

inline int CountThreads() {
  HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 entry = {};
  entry.dwSize = sizeof entry;
  int count = 0;
  for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
    if (entry.th32OwnerProcessID == GetCurrentProcessId()) ++count;
  CloseHandle(snapshot);
  return count;
}

inline ProcessCounts CountProcess() {
  ProcessCounts counts;
  HANDLE process = GetCurrentProcess();
  counts.threads = CountThreads();
  DWORD handles = 0;
  GetProcessHandleCount(process, &handles);
  counts.handles = static_cast<int>(handles);
  counts.gdiObjects = static_cast<int>(GetGuiResources(process, GR_GDIOBJECTS));
  counts.userObjects = static_cast<int>(GetGuiResources(process, GR_USEROBJECTS));
  PROCESS_MEMORY_COUNTERS_EX memory = {};
  memory.cb = sizeof memory;
  if (GetProcessMemoryInfo(process, reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&memory), sizeof memory))
    counts.privateBytes = memory.PrivateUsage;
  return counts;
}

}  // namespace tlr2::test
