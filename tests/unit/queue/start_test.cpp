// Starting and stopping: capacity, caps, processor binding, refused threads, and the idle spin time.
#include "platform/clock.h"
#include "platform/float_rules.h"
#include "private_queue.h"
#include "scoped_environment.h"
#include "tiles/queue/idle_spin.h"

namespace RJQ::test {
namespace {

using tlr2::test::ScopedEnvironment;

TEST(QueueStart, CapacityIsAPowerOfTwoFromEight) {
  for (const std::int32_t capacity : {-64, 0, 1, 4, 7, 9, 63, 65, 96}) {
    QueueOptions options;
    options.capacity = capacity;
    EXPECT_EQ(MakeQueue(1, options), nullptr) << capacity;
  }
  for (const std::int32_t capacity : {8, 16, 64}) {
    QueueOptions options;
    options.capacity = capacity;
    const OwnedQueue queue = MakeQueue(1, options);
    ASSERT_NE(queue, nullptr) << capacity;
    EXPECT_EQ(queue->slots.size(), static_cast<std::size_t>(capacity));
  }
}

TEST(QueueStart, NoProcessorsNoQueue) { EXPECT_EQ(MakeQueue(0), nullptr); }

TEST(QueueStart, CapCutsTheListFromItsEnd) {
  QueueOptions options;
  options.workerCap = 3;
  const OwnedQueue queue = MakeQueue(5, options);
  ASSERT_EQ(WorkerCount(queue.get()), 3);
  ASSERT_EQ(queue->processors.size(), 3u);
  EXPECT_EQ(queue->processors[2].mask, 4u);
  EXPECT_EQ(queue->workers[2].index, 2);
  EXPECT_EQ(queue->workers[2].processor.mask, 4u);
}

TEST(QueueStart, CapAboveTheProcessorsAddsNone) {
  QueueOptions options;
  options.workerCap = 1000;
  EXPECT_EQ(WorkerCount(MakeQueue(4, options).get()), 4);
  options.workerCap = 4;
  EXPECT_EQ(WorkerCount(MakeQueue(4, options).get()), 4);
  options.workerCap = 0;
  EXPECT_EQ(WorkerCount(MakeQueue(4, options).get()), 4);
}

TEST(QueueStart, OneWorkerRunsTheJobsWhileTheProducerSleeps) {
  QueueOptions options;
  options.workerCap = 1;
  const OwnedQueue queue = MakeQueue(4, options);
  std::thread::id ran[16];
  Enqueue(
      *queue, kTaskJob, Tasks(16),
      [](const JobRange*, std::int32_t index, void* context) {
        static_cast<std::thread::id*>(context)[index] = std::this_thread::get_id();
      },
      ran);
  WaitIdle(*queue);
  EXPECT_NE(ran[0], std::thread::id());
  EXPECT_NE(ran[0], std::this_thread::get_id());
  for (const std::thread::id& id : ran) EXPECT_EQ(id, ran[0]);
}

std::atomic<int> pins{0}, preferences{0};
std::atomic<std::uint32_t> pinnedBits[8], preferredBits[8];

QueueCalls CountingCalls() {
  QueueCalls calls = kSystemCalls;
  calls.pin = [](std::uint16_t group, std::uint64_t mask) noexcept {
    pins.fetch_add(1);
    if (group < 8) pinnedBits[group].fetch_or(static_cast<std::uint32_t>(mask));
  };
  calls.prefer = [](std::uint16_t group, std::uint8_t index) noexcept {
    preferences.fetch_add(1);
    if (group < 8 && index < 32) preferredBits[group].fetch_or(1u << index);
  };
  pins.store(0);
  preferences.store(0);
  for (auto& bits : pinnedBits) bits.store(0);
  for (auto& bits : preferredBits) bits.store(0);
  return calls;
}

TEST(QueueStart, PinsEachOf129Workers) {
  const ScopedEnvironment spin("TLR2_RJQ_IDLE_SPIN_US", "0");
  QueueOptions options;
  options.calls = CountingCalls();
  const OwnedQueue queue = MakeQueue(129, options);
  ASSERT_NE(queue, nullptr);
  EXPECT_TRUE(Eventually([] { return preferences.load() == 129; }));
  EXPECT_EQ(pins.load(), 129);
  for (int group = 0; group < 4; ++group) {
    EXPECT_EQ(pinnedBits[group].load(), 0xFFFFFFFFu);
    EXPECT_EQ(preferredBits[group].load(), 0xFFFFFFFFu);
  }
  EXPECT_EQ(pinnedBits[4].load(), 1u);
  EXPECT_EQ(preferredBits[4].load(), 1u);
}

TEST(QueueStart, PinsNoneOf128Workers) {
  const ScopedEnvironment spin("TLR2_RJQ_IDLE_SPIN_US", "0");
  QueueOptions options;
  options.calls = CountingCalls();
  {
    const OwnedQueue queue = MakeQueue(128, options);
    ASSERT_NE(queue, nullptr);
  }  // every thread has run
  EXPECT_EQ(pins.load(), 0);
  EXPECT_EQ(preferences.load(), 0);
}

TEST(QueueStart, WorkerWithoutMaskHasNoPreference) {
  const ScopedEnvironment spin("TLR2_RJQ_IDLE_SPIN_US", "0");
  auto processors = Processors(129);
  processors[7].mask = 0;
  QueueOptions options;
  options.processors = &processors;
  options.calls = CountingCalls();
  {
    const OwnedQueue queue(StartQueue(options));
  }
  EXPECT_EQ(pins.load(), 129);
  EXPECT_EQ(preferences.load(), 128);
}

std::atomic<int> startsLeft{0};

TEST(QueueStart, WorkersRoundByTheRulesWhateverTheThreadThatStartsThemDoes) {
  const unsigned own = __builtin_ia32_stmxcsr();
  __builtin_ia32_ldmxcsr(own | 0xE040);  // denormals flushed in and out, rounding toward zero
  const OwnedQueue queue = MakeQueue(2);
  __builtin_ia32_ldmxcsr(own);
  unsigned seen[16] = {};
  Enqueue(
      *queue, kTaskJob, Tasks(16),
      [](const JobRange*, std::int32_t index, void* context) {
        static_cast<unsigned*>(context)[index] = __builtin_ia32_stmxcsr() & ~0x3Fu;  // without the sticky flags
      },
      seen);
  WaitIdle(*queue);
  for (const unsigned word : seen) EXPECT_EQ(word, tlr2::FloatRules::kControlWord);
}

TEST(QueueStart, RefusedThreadFailsTheStartAndSendsTheOthersHome) {
  for (const int granted : {0, 1, 3}) {
    startsLeft.store(granted);
    static std::atomic<int> running;
    running.store(0);
    QueueOptions options;
    options.calls.startThread = [](tlr2::ThreadHandle& thread, tlr2::ThreadMain main, void* argument) noexcept {
      if (startsLeft.fetch_sub(1) <= 0) return false;
      EXPECT_EQ(main, &ExecuteTiles);
      running.fetch_add(1);
      return tlr2::ThreadStart(
          thread,
          [](void* record) {
            ExecuteTiles(record);
            running.fetch_sub(1);
          },
          argument);
    };
    EXPECT_EQ(MakeQueue(4, options), nullptr);
    EXPECT_TRUE(Eventually([] { return running.load() == 0; }));
  }
}

TEST(QueueStart, StopLetsHeldTasksEnd) {
  Gate gate;
  OwnedQueue queue = MakeQueue(2);
  Enqueue(*queue, kTaskJob, Tasks(2), Gate::Pass, &gate);
  ASSERT_TRUE(Eventually([&] { return gate.entered.load() == 2; }));
  std::thread opener([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    gate.open.store(true);
  });
  queue.reset();
  EXPECT_EQ(gate.left.load(), 2);
  opener.join();
}

TEST(IdleSpin, ParsesWholeDecimalTexts) {
  struct Case {
    const char* text;
    std::uint32_t expected;
  };
  for (const Case& c : {Case{"0", 0}, Case{"5000", 5000}, Case{"007", 7}, Case{"+12", 12}, Case{" 3", 3},
                        Case{"\t\n9", 9}, Case{"-1", 4294967295u}, Case{"-4294967295", 1},
                        Case{"4294967295", 4294967295u}, Case{"4294967296", 4294967295u},
                        Case{"-4294967296", 4294967295u}, Case{"1111111111111111111111111111111", 4294967295u}}) {
    std::uint32_t value = 77;
    EXPECT_TRUE(ParseIdleSpin(c.text, value)) << c.text;
    EXPECT_EQ(value, c.expected) << c.text;
  }
  for (const char* text : {"", "abc", "12abc", "1 ", "-", "+", "--1", "+-1", "0x10", "1.5", " ", "- 1"}) {
    std::uint32_t value = 77;
    EXPECT_FALSE(ParseIdleSpin(text, value)) << text;
    EXPECT_EQ(value, 77u) << text;
  }
}

TEST(IdleSpin, BadEnvironmentFallsBackToTheDefault) {
  const auto read = [](const char* text) {
    const ScopedEnvironment variable("TLR2_RJQ_IDLE_SPIN_US", text);
    return ReadIdleSpinUs();
  };
  EXPECT_EQ(read(nullptr), 5000u);
  EXPECT_EQ(read(""), 5000u);
  EXPECT_EQ(read("abc"), 5000u);
  EXPECT_EQ(read("0"), 0u);
  EXPECT_EQ(read("-1"), 4294967295u);
  EXPECT_EQ(read("250"), 250u);
  EXPECT_EQ(read("0000000000000000000000000000123"), 123u);    // 31 characters
  EXPECT_EQ(read("00000000000000000000000000000123"), 5000u);  // 32
}

TEST(IdleSpin, TicksAreASixtyFourBitProduct) {
  const auto frequency = static_cast<long double>(tlr2::TicksPerSecond());
  EXPECT_EQ(IdleSpinTicks(0), 0);
  EXPECT_EQ(IdleSpinTicks(1000000), tlr2::TicksPerSecond());
  EXPECT_EQ(IdleSpinTicks(4294967295u), static_cast<std::int64_t>(4294967295.0L * frequency / 1000000.0L));
}

TEST(IdleSpin, QueueTakesItAtItsStart) {
  const ScopedEnvironment variable("TLR2_RJQ_IDLE_SPIN_US", "2000000");
  EXPECT_EQ(MakeQueue(1)->spinTicks, 2 * tlr2::TicksPerSecond());
}

}  // namespace
}  // namespace RJQ::test
