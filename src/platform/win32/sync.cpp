// Address waits, event objects, and the short lock. The lock is the system's slim one: it is a pointer wide, unlocked
// when zero, and needs nothing of the C runtime at library load.
#include "platform/sync.h"

#include <windows.h>

namespace tlr2 {

namespace {

static_assert(sizeof(SRWLOCK) == sizeof(CriticalSection) && alignof(SRWLOCK) == alignof(CriticalSection));
static_assert(sizeof(std::atomic<std::int32_t>) == sizeof(std::int32_t));

SRWLOCK* LockOf(CriticalSection& section) noexcept { return reinterpret_cast<SRWLOCK*>(&section.word); }

void* AddressOf(const std::atomic<std::int32_t>& word) noexcept {
  return const_cast<std::atomic<std::int32_t>*>(&word);  // the system only reads it
}

}  // namespace

void WaitOnWord(const std::atomic<std::int32_t>& word, std::int32_t expected) noexcept {
  WaitOnAddress(AddressOf(word), &expected, sizeof expected, INFINITE);
}
void WakeAllOnWord(const std::atomic<std::int32_t>& word) noexcept { WakeByAddressAll(AddressOf(word)); }

bool EventCreate(EventHandle& event, bool manualReset) noexcept {
  event.native = CreateEventW(nullptr, manualReset ? TRUE : FALSE, FALSE, nullptr);
  return event.native != nullptr;
}
void EventSet(const EventHandle& event) noexcept {
  if (event.native != nullptr) SetEvent(event.native);
}
void EventReset(const EventHandle& event) noexcept {
  if (event.native != nullptr) ResetEvent(event.native);
}
bool EventWait(const EventHandle& event, std::uint32_t timeoutMs) noexcept {
  static_assert(INFINITE == 0xFFFFFFFF);
  return event.native != nullptr && WaitForSingleObject(event.native, timeoutMs) == WAIT_OBJECT_0;
}
void EventClose(EventHandle& event) noexcept {
  if (event.native != nullptr) CloseHandle(event.native);
  event.native = nullptr;
}

void Lock(CriticalSection& section) noexcept { AcquireSRWLockExclusive(LockOf(section)); }
void Unlock(CriticalSection& section) noexcept { ReleaseSRWLockExclusive(LockOf(section)); }

}  // namespace tlr2
