// Wait words, events, the short lock and threads.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "platform/sync.h"
#include "platform/thread.h"

namespace tlr2 {
namespace {

void SleepMs(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

template <typename Body>
std::vector<std::thread> StartThreads(int count, const Body& body) {
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) threads.emplace_back(body);
  return threads;
}

TEST(Platform, WaitOnWordReturnsAtOnceWhenItDiffers) {
  const std::atomic<std::int32_t> word{5};
  WaitOnWord(word, 4);
  SUCCEED();
}

TEST(Platform, WakeAllReleasesEverySleeper) {
  std::atomic<std::int32_t> word{0}, through{0};
  auto sleepers = StartThreads(4, [&] {
    while (word.load() == 0) WaitOnWord(word, 0);
    through.fetch_add(1);
  });
  SleepMs(20);
  EXPECT_EQ(through.load(), 0);
  word.store(1);
  WakeAllOnWord(word);
  for (auto& sleeper : sleepers) sleeper.join();
  EXPECT_EQ(through.load(), 4);
}

TEST(Platform, TakenEventIsResetHoweverOftenItWasSet) {
  Event event;
  EventSet(event);
  EventSet(event);
  EventTake(event);
  EXPECT_EQ(event.signalled.load(), 0);
  EventSet(event);
  EventReset(event);
  EXPECT_EQ(event.signalled.load(), 0);
}

TEST(Platform, WaitedForEventStaysSignalled) {
  Event event;
  EventSet(event);
  EventWait(event);
  EventWait(event);
  EXPECT_EQ(event.signalled.load(), 1);
}

TEST(Platform, EachSignalIsTakenByOneThread) {
  Event event, taken;
  std::atomic<int> through{0};
  auto takers = StartThreads(3, [&] {
    EventTake(event);
    through.fetch_add(1);
    EventSet(taken);
  });
  for (int i = 1; i <= 3; ++i) {
    SleepMs(5);
    EXPECT_EQ(through.load(), i - 1);
    EventSet(event);
    EventTake(taken);
    EXPECT_EQ(through.load(), i);
  }
  for (auto& taker : takers) taker.join();
  EXPECT_EQ(event.signalled.load(), 0);
}

TEST(Platform, WaitingThreadSleepsUntilTheEventIsSet) {
  Event event;
  std::atomic<int> through{0};
  auto sleepers = StartThreads(3, [&] {
    EventWait(event);
    through.fetch_add(1);
  });
  SleepMs(20);
  EXPECT_EQ(through.load(), 0);
  EventSet(event);
  for (auto& sleeper : sleepers) sleeper.join();
  EXPECT_EQ(through.load(), 3);
}

TEST(Platform, EventsHandAValueToAnotherThreadAndBack) {
  Event request, answer;
  int value = 0;  // handed over by the events
  std::thread other([&] {
    for (int i = 0; i < 1000; ++i) {
      EventTake(request);
      ++value;
      EventSet(answer);
    }
  });
  for (int i = 1; i <= 1000; ++i) {
    EventReset(answer);
    EventSet(request);
    EventWait(answer);
    ASSERT_EQ(value, i);
  }
  other.join();
}

TEST(Platform, LockKeepsOthersOut) {
  static CriticalSection section;  // zero storage is an unlocked lock
  int plain = 0;
  auto threads = StartThreads(4, [&] {
    for (int n = 0; n < 20000; ++n) {
      const LockHolder holder(section);
      ++plain;
    }
  });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(plain, 80000);
}

TEST(Platform, ThreadRunsAndIsWaitedFor) {
  int ran = 0;
  ThreadHandle thread;
  ASSERT_TRUE(ThreadStart(thread, [](void* argument) { *static_cast<int*>(argument) = 42; }, &ran));
  EXPECT_NE(thread.native, nullptr);
  EXPECT_NE(thread.id, 0u);
  EXPECT_TRUE(ThreadWait(thread, kNoTimeout));
  EXPECT_EQ(ran, 42);
  EXPECT_TRUE(ThreadWait(thread, 0));  // and again
  ThreadClose(thread);
  EXPECT_EQ(thread.native, nullptr);
}

TEST(Platform, ThreadWaitEndsAtItsTimeout) {
  std::atomic<bool> leave{false};
  ThreadHandle thread;
  ASSERT_TRUE(ThreadStart(
      thread,
      [](void* argument) {
        while (!static_cast<std::atomic<bool>*>(argument)->load()) std::this_thread::yield();
      },
      &leave));
  EXPECT_FALSE(ThreadWait(thread, 30));
  leave.store(true);
  EXPECT_TRUE(ThreadWait(thread, 10000));
  ThreadClose(thread);
}

TEST(Platform, ClosedThreadRunsOn) {
  static std::atomic<int> state;
  state.store(0);
  ThreadHandle thread;
  ASSERT_TRUE(ThreadStart(
      thread,
      [](void*) {
        while (state.load() == 0) std::this_thread::yield();
        state.store(2);
      },
      nullptr));
  ThreadClose(thread);
  state.store(1);
  for (int i = 0; i < 10000 && state.load() != 2; ++i) SleepMs(1);
  EXPECT_EQ(state.load(), 2);
}

}  // namespace
}  // namespace tlr2
