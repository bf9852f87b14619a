// Clock, processor identification, topology, environment, and the thread's own block.
#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "platform/clock.h"
#include "platform/cpu.h"
#include "platform/environment.h"
#include "platform/thread.h"
#include "platform/thread_block.h"
#include "platform/topology.h"
#include "scoped_environment.h"

namespace tlr2 {
namespace {

using test::ScopedEnvironment;

TEST(Platform, ClockRunsForwardAtItsFrequency) {
  const std::int64_t start = TicksNow();
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  const std::int64_t elapsed = TicksNow() - start;
  EXPECT_GT(TicksPerSecond(), 0);
  EXPECT_GE(elapsed, TicksPerSecond() / 1000 * 45);
  EXPECT_EQ(TicksPerSecond(), TicksPerSecond());
}

TEST(Platform, EnvironmentValueComesWithItsLength) {
  const ScopedEnvironment variable("TLR2_TEST_VARIABLE", "abc def");
  char buffer[16];
  EXPECT_EQ(ReadEnvironment("TLR2_TEST_VARIABLE", buffer, sizeof buffer), 7u);
  EXPECT_STREQ(buffer, "abc def");
}

TEST(Platform, EnvironmentValueThatDoesNotFitCountsAsUnset) {
  char buffer[16];
  {
    const ScopedEnvironment variable("TLR2_TEST_VARIABLE", "123456789012345");  // 15 and the zero
    EXPECT_EQ(ReadEnvironment("TLR2_TEST_VARIABLE", buffer, sizeof buffer), 15u);
    EXPECT_STREQ(buffer, "123456789012345");
  }
  const ScopedEnvironment variable("TLR2_TEST_VARIABLE", "1234567890123456");
  EXPECT_EQ(ReadEnvironment("TLR2_TEST_VARIABLE", buffer, sizeof buffer), 0u);
  EXPECT_STREQ(buffer, "");
}

TEST(Platform, UnsetAndEmptyEnvironmentValuesAreNothing) {
  char buffer[16] = "left over";
  {
    const ScopedEnvironment variable("TLR2_TEST_VARIABLE", nullptr);
    EXPECT_EQ(ReadEnvironment("TLR2_TEST_VARIABLE", buffer, sizeof buffer), 0u);
    EXPECT_STREQ(buffer, "");
  }
  const ScopedEnvironment variable("TLR2_TEST_VARIABLE", "");
  std::strcpy(buffer, "left over");
  EXPECT_EQ(ReadEnvironment("TLR2_TEST_VARIABLE", buffer, sizeof buffer), 0u);
  EXPECT_STREQ(buffer, "");
  EXPECT_EQ(ReadEnvironment("TLR2_TEST_VARIABLE", nullptr, 0), 0u);
}

TEST(Platform, CpuidKnowsTheBaseline) {
  EXPECT_GE(Cpuid(0, 0).eax, 1u);
  EXPECT_NE(Cpuid(1, 0).edx & 1u << 26, 0u);  // SSE2, which this program was compiled for
  const CpuidResult beyond = Cpuid(0x7FFFFFFF, 0);
  EXPECT_EQ(beyond.eax | beyond.ebx | beyond.ecx | beyond.edx, 0u);
  if ((Cpuid(1, 0).ecx & 1u << 27) != 0) {
    EXPECT_EQ(Xgetbv0() & 3, 3u);  // x87 and SSE state
  }
}

TEST(Platform, ProcessorsAreSingleDistinctBits) {
  const std::vector<ProcessorSlot> slots = EnumerateProcessors();
  ASSERT_FALSE(slots.empty());
  std::set<std::pair<std::uint16_t, std::uint64_t>> seen;
  for (const ProcessorSlot& slot : slots) {
    EXPECT_TRUE(std::has_single_bit(slot.mask));
    if (sizeof(void*) == 4) {
      EXPECT_LE(slot.mask, 0x80000000u);
    }
    EXPECT_LT(slot.group, ActiveGroupCount());
    EXPECT_TRUE(seen.insert({slot.group, slot.mask}).second);
  }
}

TEST(Platform, ProcessorCountsAgree) {
  const std::vector<ProcessorSlot> slots = EnumerateProcessors();
  EXPECT_EQ(ActiveProcessorCount(), slots.size());
  std::uint32_t sum = 0;
  for (std::uint16_t group = 0; group < ActiveGroupCount(); ++group) sum += ActiveProcessorCount(group);
  EXPECT_EQ(sum, ActiveProcessorCount());
}

TEST(Platform, PinnedThreadRunsOnItsProcessorAlone) {
  const ProcessorSlot last = EnumerateProcessors().back();
  std::uint32_t allowed = 0;
  std::thread([&] {
    ThreadPinCurrent(last.group, last.mask);
    ThreadPreferCurrent(last.group, static_cast<std::uint8_t>(std::countr_zero(last.mask)));
#if !defined(_WIN32)
    allowed = ActiveProcessorCount();  // what the calling thread may run on
#else
    allowed = 1;
#endif
  }).join();
  EXPECT_EQ(allowed, 1u);
}

TEST(Platform, ThreadBlockStartsZeroedAndStays) {
  ThreadGuard& mine = CurrentThreadGuard();
  EXPECT_EQ(&CurrentThreadGuard(), &mine);
  mine.suppress = true;
  ThreadGuard* other = nullptr;
  bool zeroed = false, kept = false;
  std::thread([&] {
    ThreadGuard& guard = CurrentThreadGuard();
    other = &guard;
    zeroed = guard.currentContext == nullptr && !guard.suppress && guard.profileRoot == nullptr &&
             guard.profileCursor == nullptr;
    guard.suppress = true;
    kept = CurrentThreadGuard().suppress;
  }).join();
  EXPECT_TRUE(zeroed);
  EXPECT_TRUE(kept);
  EXPECT_NE(other, &mine);
  EXPECT_TRUE(CurrentThreadGuard().suppress);
  mine.suppress = false;
}

TEST(Platform, ManyThreadsHaveBlocksOfTheirOwn) {
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (int i = 0; i < 16; ++i)
    threads.emplace_back([&wrong, i] {
      auto* mark = reinterpret_cast<ContextRecord*>(static_cast<std::uintptr_t>(i + 1) * 16);
      CurrentThreadGuard().currentContext = mark;
      for (int n = 0; n < 1000; ++n) {
        std::this_thread::yield();
        if (CurrentThreadGuard().currentContext != mark) wrong.fetch_add(1);
      }
    });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
}

ThreadGuard* const guardAtLoad = &CurrentThreadGuard();  // taken before main

TEST(Platform, ThreadBlockWorksDuringStaticConstruction) { EXPECT_EQ(guardAtLoad, &CurrentThreadGuard()); }

}  // namespace
}  // namespace tlr2
