// What a process holds: counted before and after something that should leave nothing behind.
#pragma once

// clang-format off
#include <windows.h>  // the others need its types
#include <psapi.h>
#include <tlhelp32.h>
// clang-format on

#include <cstddef>
#include <vector>

namespace tlr2::test {

struct ProcessCounts {
  int threads = 0;
  int handles = 0;
  int windows = 0;                 // top-level ones
  std::size_t committedBytes = 0;  // of the whole process
  std::size_t heapBytes = 0;       // in use in the process heap, which the C library's memory comes from too
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

/// By the system's own list: Wine answers GetProcessHandleCount with 0. -1 when there is no list.
inline int CountHandles() {
  struct Entry {
    void* object;
    ULONG_PTR process, handle;
    ULONG access;
    USHORT trace, type;
    ULONG attributes, reserved;
  };
  struct List {
    ULONG_PTR count, reserved;
    Entry entry[1];
  };
  constexpr ULONG kExtendedHandleInformation = 64;
  using Query = LONG(WINAPI*)(ULONG, void*, ULONG, ULONG*);
  const auto query = reinterpret_cast<Query>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
  static std::vector<ULONG_PTR> room((1u << 21) / sizeof(ULONG_PTR));
  if (query == nullptr ||
      query(kExtendedHandleInformation, room.data(), static_cast<ULONG>(room.size() * sizeof room[0]), nullptr) != 0)
    return -1;
  const List& list = *reinterpret_cast<const List*>(room.data());
  int count = 0;
  for (ULONG_PTR i = 0; i < list.count; ++i)
    if (list.entry[i].process == GetCurrentProcessId()) ++count;
  return count;
}

inline BOOL CALLBACK CountWindow(HWND window, LPARAM total) {
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  if (process == GetCurrentProcessId()) ++*reinterpret_cast<int*>(total);
  return TRUE;
}

inline int CountWindows() {
  int count = 0;
  EnumWindows(CountWindow, reinterpret_cast<LPARAM>(&count));
  return count;
}

inline std::size_t CountHeapBytes() {
  HANDLE heap = GetProcessHeap();
  PROCESS_HEAP_ENTRY entry = {};
  std::size_t bytes = 0;
  HeapLock(heap);
  while (HeapWalk(heap, &entry))
    if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) bytes += entry.cbData;
  HeapUnlock(heap);
  return bytes;
}

inline ProcessCounts CountProcess() {
  ProcessCounts counts;
  counts.threads = CountThreads();
  counts.handles = CountHandles();
  counts.windows = CountWindows();
  PROCESS_MEMORY_COUNTERS memory = {};
  memory.cb = sizeof memory;
  if (GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory)) counts.committedBytes = memory.PagefileUsage;
  counts.heapBytes = CountHeapBytes();
  return counts;
}

}  // namespace tlr2::test
