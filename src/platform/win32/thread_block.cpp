// The thread's block behind a system slot. The compiler's own thread-local storage is emulated here by a call chain
// that is several times slower and not yet usable at process attach. The first 64 slots lie inside the thread's
// environment block, at offsets that the system's own inlined code has fixed, and are read with one instruction.
#include "platform/thread_block.h"

#include <windows.h>

#include <atomic>
#include <cstdint>

#include "platform/win32/fault_stack.h"

namespace tlr2 {

constinit std::atomic<std::uint32_t> detail::threadSlotOffset{0};

namespace {

constexpr DWORD kDirectSlots = 64;
constexpr std::uint32_t kSlotArrayOffset = sizeof(void*) == 8 ? 0x1480 : 0xE10;

constexpr DWORD kNoSlot = TLS_OUT_OF_INDEXES;
constinit std::atomic<DWORD> slot{kNoSlot};

// Shared by all threads once the system is out of slots or memory: wrong then, but no worse than ending the program.
constinit ThreadGuard lastResort{};

/// The one slot of the process, allocated by whichever thread comes first.
DWORD TakeSlot() noexcept {
  DWORD known = slot.load(std::memory_order_acquire);
  if (known != kNoSlot) return known;
  const DWORD mine = TlsAlloc();
  if (mine == kNoSlot) return kNoSlot;
  if (!slot.compare_exchange_strong(known, mine, std::memory_order_acq_rel, std::memory_order_acquire)) {
    TlsFree(mine);
    return known;
  }
  // The direct read is taken only where it is seen to find what the system call stored.
  if (mine < kDirectSlots) {
    const auto offset = static_cast<std::uint32_t>(kSlotArrayOffset + mine * sizeof(void*));
    TlsSetValue(mine, &lastResort);
    const bool agrees = detail::ReadThreadSlot(offset) == &lastResort;
    TlsSetValue(mine, nullptr);
    if (agrees) detail::threadSlotOffset.store(offset, std::memory_order_release);
  }
  return mine;
}

/// Through the system's calls, making the block when the thread has none. The last error stays as the application
/// left it.
__attribute__((noinline)) ThreadGuard& ReachSlowly() noexcept {
  const DWORD error = GetLastError();
  ThreadGuard* guard = nullptr;
  const DWORD index = TakeSlot();
  if (index != kNoSlot) {
    guard = static_cast<ThreadGuard*>(TlsGetValue(index));
    if (guard == nullptr) {
      // Not freed when the thread ends: the library hears of no thread's end, and the block is a few words.
      guard = static_cast<ThreadGuard*>(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, sizeof(ThreadGuard)));
      if (guard != nullptr) TlsSetValue(index, guard);
      KeepStackForFaults();  // of every thread that comes into the driver, once
    }
  }
  SetLastError(error);
  return guard != nullptr ? *guard : lastResort;
}

}  // namespace

ThreadGuard& detail::ReachThreadGuard() noexcept { return ReachSlowly(); }

}  // namespace tlr2
