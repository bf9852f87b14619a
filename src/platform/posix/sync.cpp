// Waiting on words with futexes; the short lock is a word too.
#include "platform/sync.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>

namespace tlr2 {

namespace {

void FutexWait(const void* word, std::int32_t expected) noexcept {
  syscall(SYS_futex, word, FUTEX_WAIT_PRIVATE, expected, nullptr, nullptr, 0);
}
void FutexWake(const void* word, int count) noexcept {
  syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, count, nullptr, nullptr, 0);
}

// The lock's states.
constexpr std::int32_t kFree = 0, kHeld = 1, kContended = 2;

/// The lock's word is the low half of the pointer on 64-bit systems.
std::int32_t* LockWord(CriticalSection& section) noexcept { return reinterpret_cast<std::int32_t*>(&section.word); }

}  // namespace

void WaitOnWord(const std::atomic<std::int32_t>& word, std::int32_t expected) noexcept { FutexWait(&word, expected); }
void WakeAllOnWord(const std::atomic<std::int32_t>& word) noexcept { FutexWake(&word, INT_MAX); }

void Lock(CriticalSection& section) noexcept {
  std::int32_t* word = LockWord(section);
  std::int32_t state = kFree;
  if (__atomic_compare_exchange_n(word, &state, kHeld, false, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED)) return;
  // From here on the lock is taken as contended, since others may sleep behind this thread.
  while (__atomic_exchange_n(word, kContended, __ATOMIC_ACQUIRE) != kFree) FutexWait(word, kContended);
}

void Unlock(CriticalSection& section) noexcept {
  std::int32_t* word = LockWord(section);
  if (__atomic_exchange_n(word, kFree, __ATOMIC_RELEASE) == kContended) FutexWake(word, 1);
}

}  // namespace tlr2
