// Waiting: on a 32-bit word, on events, and a short lock.
#pragma once

#include <atomic>
#include <cstdint>

namespace tlr2 {

/// Sleeps while `word` equals `expected`. May return early; callers stand in a loop that reads the word again.
void WaitOnWord(const std::atomic<std::int32_t>& word, std::int32_t expected) noexcept;
/// Wakes every thread that sleeps on `word`.
void WakeAllOnWord(const std::atomic<std::int32_t>& word) noexcept;

/// An event object; `native` null: none.
struct EventHandle {
  void* native = nullptr;
};
bool EventCreate(EventHandle& event, bool manualReset) noexcept;
void EventSet(const EventHandle& event) noexcept;
void EventReset(const EventHandle& event) noexcept;
/// True when signalled within `timeoutMs` milliseconds (0xFFFFFFFF: without limit). An auto-reset event is taken.
bool EventWait(const EventHandle& event, std::uint32_t timeoutMs) noexcept;
void EventClose(EventHandle& event) noexcept;

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
