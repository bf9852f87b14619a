// Address waits and the short lock. The lock is the system's slim one: it is a pointer wide, unlocked
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

void Lock(CriticalSection& section) noexcept { AcquireSRWLockExclusive(LockOf(section)); }
void Unlock(CriticalSection& section) noexcept { ReleaseSRWLockExclusive(LockOf(section)); }

}  // namespace tlr2
