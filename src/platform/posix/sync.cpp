// Waiting on words with futexes; events and the short lock are words too.
#include "platform/sync.h"

#include <errno.h>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <climits>
#include <new>

#include "platform/clock.h"
#include "platform/thread.h"

namespace tlr2 {

namespace {

void FutexWait(const void* word, std::int32_t expected, const timespec* timeout) noexcept {
  syscall(SYS_futex, word, FUTEX_WAIT_PRIVATE, expected, timeout, nullptr, 0);
}
void FutexWake(const void* word, int count) noexcept {
  syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, count, nullptr, nullptr, 0);
}

struct Event {
  std::atomic<std::int32_t> signalled{0};
  bool manualReset;
};

// The lock's states.
constexpr std::int32_t kFree = 0, kHeld = 1, kContended = 2;

/// The lock's word is the low half of the pointer on 64-bit systems.
std::int32_t* LockWord(CriticalSection& section) noexcept { return reinterpret_cast<std::int32_t*>(&section.word); }

bool TakeEvent(Event& event) noexcept {
  if (event.manualReset) return event.signalled.load(std::memory_order_acquire) != 0;
  std::int32_t set = 1;
  return event.signalled.compare_exchange_strong(set, 0, std::memory_order_acquire, std::memory_order_relaxed);
}

}  // namespace

void WaitOnWord(const std::atomic<std::int32_t>& word, std::int32_t expected) noexcept {
  FutexWait(&word, expected, nullptr);
}
void WakeAllOnWord(const std::atomic<std::int32_t>& word) noexcept { FutexWake(&word, INT_MAX); }

bool EventCreate(EventHandle& event, bool manualReset) noexcept {
  auto* made = new (std::nothrow) Event;
  if (made != nullptr) made->manualReset = manualReset;
  event.native = made;
  return made != nullptr;
}

void EventSet(const EventHandle& handle) noexcept {
  auto* event = static_cast<Event*>(handle.native);
  if (event == nullptr) return;
  event->signalled.store(1, std::memory_order_release);
  FutexWake(&event->signalled, event->manualReset ? INT_MAX : 1);
}

void EventReset(const EventHandle& handle) noexcept {
  auto* event = static_cast<Event*>(handle.native);
  if (event != nullptr) event->signalled.store(0, std::memory_order_relaxed);
}

bool EventWait(const EventHandle& handle, std::uint32_t timeoutMs) noexcept {
  auto* event = static_cast<Event*>(handle.native);
  if (event == nullptr) return false;
  const std::int64_t deadline = TicksNow() + static_cast<std::int64_t>(timeoutMs) * 1000000;
  while (!TakeEvent(*event)) {
    if (timeoutMs == kNoTimeout) {
      FutexWait(&event->signalled, 0, nullptr);
      continue;
    }
    const std::int64_t left = deadline - TicksNow();
    if (left <= 0) return false;
    const timespec timeout{static_cast<time_t>(left / 1000000000), static_cast<long>(left % 1000000000)};
    FutexWait(&event->signalled, 0, &timeout);
  }
  return true;
}

void EventClose(EventHandle& event) noexcept {
  delete static_cast<Event*>(event.native);
  event.native = nullptr;
}

void Lock(CriticalSection& section) noexcept {
  std::int32_t* word = LockWord(section);
  std::int32_t state = kFree;
  if (__atomic_compare_exchange_n(word, &state, kHeld, false, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED)) return;
  // From here on the lock is taken as contended, since others may sleep behind this thread.
  while (__atomic_exchange_n(word, kContended, __ATOMIC_ACQUIRE) != kFree) FutexWait(word, kContended, nullptr);
}

void Unlock(CriticalSection& section) noexcept {
  std::int32_t* word = LockWord(section);
  if (__atomic_exchange_n(word, kFree, __ATOMIC_RELEASE) == kContended) FutexWake(word, 1);
}

}  // namespace tlr2
