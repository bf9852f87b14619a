// Waiting: on a 32-bit word, on events of this process, and a short lock.
#pragma once

#include <atomic>
#include <cstdint>

namespace tlr2 {

/// Sleeps while `word` equals `expected`. May return early; callers stand in a loop that reads the word again.
void WaitOnWord(const std::atomic<std::int32_t>& word, std::int32_t expected) noexcept;
/// Wakes every thread that sleeps on `word`.
void WakeAllOnWord(const std::atomic<std::int32_t>& word) noexcept;

/// An event of this process. It is a word and no object of the system: handing a frame over by two of those takes some
/// 0.2 ms under Wine, which asks its server for each step.
struct Event {
  std::atomic<std::int32_t> signalled{0};
};
inline void EventSet(Event& event) noexcept {
  event.signalled.store(1, std::memory_order_release);
  WakeAllOnWord(event.signalled);
}
inline void EventReset(Event& event) noexcept { event.signalled.store(0, std::memory_order_relaxed); }
/// Sleeps until the event is signalled, and leaves it so.
inline void EventWait(const Event& event) noexcept {
  while (event.signalled.load(std::memory_order_acquire) == 0) WaitOnWord(event.signalled, 0);
}
/// Sleeps until the event is signalled, and resets it: of several threads one gets each signal.
inline void EventTake(Event& event) noexcept {
  while (event.signalled.exchange(0, std::memory_order_acquire) == 0) WaitOnWord(event.signalled, 0);
}

/// A short lock, usable at library load, without constructor or destructor of its own. Zero-initialised storage is an
/// unlocked lock.
struct CriticalSection {
  void* word = nullptr;
};
void Lock(CriticalSection& section) noexcept;
void Unlock(CriticalSection& section) noexcept;

class LockHolder {
 public:
  explicit LockHolder(CriticalSection& section) noexcept : section_(section) { Lock(section_); }
  ~LockHolder() { Unlock(section_); }
  LockHolder(const LockHolder&) = delete;
  LockHolder& operator=(const LockHolder&) = delete;

 private:
  CriticalSection& section_;
};

}  // namespace tlr2
