// POSIX threads.
#include "platform/thread.h"

#include <errno.h>
#include <pthread.h>
#include <sched.h>
#include <time.h>

#include <atomic>
#include <cstring>
#include <new>

#include "platform/posix/fault_stack.h"
#include "platform/posix/processor_groups.h"

namespace tlr2 {

namespace {

struct Thread {
  pthread_t thread;
  bool joined;  // touched only by the holder of the handle
};

struct StartArgument {
  ThreadMain main;
  void* argument;
};

std::atomic<std::uint32_t> lastThreadId{0};

void* RunThread(void* pointer) {
  const StartArgument start = *static_cast<StartArgument*>(pointer);
  delete static_cast<StartArgument*>(pointer);
  GiveFaultStack();
  start.main(start.argument);
  return nullptr;
}

}  // namespace

bool ThreadStart(ThreadHandle& thread, ThreadMain main, void* argument) noexcept {
  auto* start = new (std::nothrow) StartArgument{main, argument};
  auto* record = new (std::nothrow) Thread{};
  if (start == nullptr || record == nullptr || pthread_create(&record->thread, nullptr, RunThread, start) != 0) {
    delete start;
    delete record;
    thread = {};
    return false;
  }
  thread.native = record;
  thread.id = lastThreadId.fetch_add(1, std::memory_order_relaxed) + 1;
  return true;
}

bool ThreadWait(const ThreadHandle& thread, std::uint32_t timeoutMs) noexcept {
  auto* record = static_cast<Thread*>(thread.native);
  if (record == nullptr || record->joined) return true;
  if (timeoutMs == kNoTimeout) {
    record->joined = pthread_join(record->thread, nullptr) == 0;
    return record->joined;
  }
  timespec until{};
  clock_gettime(CLOCK_REALTIME, &until);  // the clock that the timed join measures against
  until.tv_sec += static_cast<time_t>(timeoutMs / 1000);
  until.tv_nsec += static_cast<long>(timeoutMs % 1000) * 1000000L;
  if (until.tv_nsec >= 1000000000L) {
    until.tv_nsec -= 1000000000L;
    ++until.tv_sec;
  }
  record->joined = pthread_timedjoin_np(record->thread, nullptr, &until) == 0;
  return record->joined;
}

void ThreadTerminate(const ThreadHandle&) noexcept {
  // A POSIX thread can only be asked to end, and one that does not answer is left to the end of the process.
}

void ThreadClose(ThreadHandle& thread) noexcept {
  auto* record = static_cast<Thread*>(thread.native);
  if (record == nullptr) return;
  if (!record->joined) pthread_detach(record->thread);
  delete record;
  thread = {};
}

void ThreadPinCurrent(std::uint16_t group, std::uint64_t mask) noexcept {
  ProcessorSet set{};
  for (unsigned bit = 0; bit < kGroupSize; ++bit) {
    const unsigned processor = group * kGroupSize + bit;
    if ((mask >> bit & 1) != 0 && processor < kProcessorLimit) set.Add(processor);
  }
  sched_setaffinity(0, sizeof set, set.Native());
}

void ThreadPreferCurrent(std::uint16_t, std::uint8_t) noexcept {}  // the scheduler takes no such hint

}  // namespace tlr2
