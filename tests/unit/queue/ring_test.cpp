// The ring: claiming, retiring, back-pressure, barriers, shutdown, ticket arithmetic, and the stale worker.
#include "platform/sync.h"
#include "private_queue.h"
#include "scoped_environment.h"

namespace RJQ::test {
namespace {

void CountIndex(const JobRange*, std::int32_t index, void* context) {
  static_cast<std::atomic<int>*>(context)[index].fetch_add(1);
}

TEST(Queue, RunsEveryIndexOnce) {
  const OwnedQueue queue = MakeQueue(3);
  ASSERT_NE(queue, nullptr);
  std::vector<std::atomic<int>> runs(1000);
  Enqueue(*queue, kTaskJob, Tasks(1000), CountIndex, runs.data());
  WaitIdle(*queue);
  for (const auto& run : runs) EXPECT_EQ(run.load(), 1);
}

TEST(Queue, FewerTasksThanWorkersRunOnce) {
  const OwnedQueue queue = MakeQueue(8);
  std::vector<std::atomic<int>> runs(8);
  for (int repeat = 0; repeat < 2000; ++repeat) {
    Enqueue(*queue, kTaskJob, Tasks(2), CountIndex, runs.data());
    WaitIdle(*queue);
    ASSERT_EQ(runs[0].load(), repeat + 1);
    ASSERT_EQ(runs[1].load(), repeat + 1);
    ASSERT_EQ(runs[2].load(), 0);
  }
}

TEST(Queue, TaskSeesItsRangeAndContext) {
  const OwnedQueue queue = MakeQueue(2);
  struct Seen {
    JobRange range{};
    std::int32_t index = -1;
  } seen;
  Enqueue(
      *queue, kTaskJob, JobRange{{11, 22, 33, 44}, 1},
      [](const JobRange* range, std::int32_t index, void* context) {
        *static_cast<Seen*>(context) = Seen{*range, index};
      },
      &seen);
  WaitIdle(*queue);
  EXPECT_EQ(seen.range.user[0], 11u);
  EXPECT_EQ(seen.range.user[3], 44u);
  EXPECT_EQ(seen.range.taskCount, 1);
  EXPECT_EQ(seen.index, 0);
}

TEST(Queue, AnyOtherTypeIsATaskJob) {
  const OwnedQueue queue = MakeQueue(2);
  std::vector<std::atomic<int>> runs(4);
  Enqueue(*queue, 2, Tasks(4), CountIndex, runs.data());
  WaitIdle(*queue);
  for (const auto& run : runs) EXPECT_EQ(run.load(), 1);
}

TEST(Queue, TicketsCountJobs) {
  const OwnedQueue queue = MakeQueue(1);
  std::vector<std::atomic<int>> runs(1);
  for (int i = 0; i < 200; ++i) EXPECT_EQ(Enqueue(*queue, kTaskJob, Tasks(1), CountIndex, runs.data()), i);
  WaitIdle(*queue);
  EXPECT_EQ(queue->head.load(), 200);
  EXPECT_EQ(queue->tail.load(), 200);
  EXPECT_EQ(queue->wake.load(), 200);
}

TEST(Queue, FreshSlotsBelongToNoJob) {
  const OwnedQueue queue = MakeQueue(1);
  for (std::uint32_t ticket = 0; ticket < 64; ++ticket) {
    const JobSlot& slot = queue->SlotOf(ticket);
    EXPECT_NE(slot.ticket.load(), static_cast<std::int64_t>(ticket));
    EXPECT_NE(TicketOf(slot.nextTask.load()), ticket);
    EXPECT_EQ(LeftOf(slot.nextTask.load()), 0u);
  }
}

TEST(Queue, FullRingBlocksTheNextEnqueue) {
  const OwnedQueue queue = MakeQueue(2);
  Gate gate;
  std::vector<std::atomic<int>> runs(1);
  Enqueue(*queue, kTaskJob, Tasks(1), Gate::Pass, &gate);
  for (int i = 1; i < 64; ++i) Enqueue(*queue, kTaskJob, Tasks(1), CountIndex, runs.data());
  // All others may have finished; the ring stays full while the oldest job stands.
  EXPECT_TRUE(Eventually([&] { return runs[0].load() == 63; }));
  std::atomic<bool> returned{false};
  std::thread producer([&] {
    Enqueue(*queue, kTaskJob, Tasks(1), CountIndex, runs.data());
    returned.store(true);
  });
  EXPECT_TRUE(Eventually([&] { return queue->tail.load() == 65; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(returned.load());
  EXPECT_EQ(queue->head.load(), 0);
  EXPECT_EQ(queue->SlotOf(64).ticket.load(), 0);  // not filled over the job that still runs
  gate.open.store(true);
  producer.join();
  WaitIdle(*queue);
  EXPECT_EQ(runs[0].load(), 64);
}

TEST(Queue, RetiresInTicketOrder) {
  const OwnedQueue queue = MakeQueue(2);
  Gate first;
  std::vector<std::atomic<int>> runs(1);
  Enqueue(*queue, kTaskJob, Tasks(1), Gate::Pass, &first);
  Enqueue(*queue, kTaskJob, Tasks(1), CountIndex, runs.data());
  EXPECT_TRUE(Eventually([&] { return queue->SlotOf(1).completed.load() == 1; }));
  EXPECT_EQ(queue->head.load(), 0);
  first.open.store(true);
  WaitIdle(*queue);
  EXPECT_EQ(queue->head.load(), 2);
}

TEST(Queue, WaitIdleWaitsForTheLastTask) {
  const OwnedQueue queue = MakeQueue(2);
  Gate gate;
  Enqueue(*queue, kTaskJob, Tasks(2), Gate::Pass, &gate);
  std::atomic<bool> idle{false};
  std::thread waiter([&] {
    WaitIdle(*queue);
    idle.store(true);
  });
  EXPECT_TRUE(Eventually([&] { return gate.entered.load() == 2; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(idle.load());
  gate.open.store(true);
  waiter.join();
  EXPECT_EQ(gate.left.load(), 2);
}

TEST(Queue, WaitIdleIgnoresLaterJobs) {
  const OwnedQueue queue = MakeQueue(2);
  Gate early, late;
  Enqueue(*queue, kTaskJob, Tasks(1), Gate::Pass, &early);
  std::atomic<bool> idle{false};
  std::atomic<bool> waiting{false};
  std::thread waiter([&] {
    waiting.store(true);
    WaitIdle(*queue);
    idle.store(true);
  });
  EXPECT_TRUE(Eventually([&] { return waiting.load(); }));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  Enqueue(*queue, kTaskJob, Tasks(1), Gate::Pass, &late);
  early.open.store(true);
  EXPECT_TRUE(Eventually([&] { return idle.load(); }));
  EXPECT_EQ(late.left.load(), 0);
  late.open.store(true);
  waiter.join();
  WaitIdle(*queue);
}

TEST(Queue, JobWithoutTasksNeverCompletes) {
  const OwnedQueue queue = MakeQueue(2);
  std::vector<std::atomic<int>> runs(1);
  Enqueue(*queue, kTaskJob, Tasks(0), CountIndex, runs.data());
  Enqueue(*queue, kTaskJob, Tasks(1), CountIndex, runs.data());
  EXPECT_TRUE(Eventually([&] { return runs[0].load() == 1; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(queue->head.load(), 0);
  EXPECT_EQ(runs[0].load(), 1);
}  // and the queue still stops

TEST(Queue, BarrierHidesWhatIsBehindIt) {
  const OwnedQueue queue = MakeQueue(3);
  Gate gate;
  std::vector<std::atomic<int>> runs(4);
  Enqueue(*queue, kTaskJob, Tasks(1), Gate::Pass, &gate);
  Enqueue(*queue, kBarrierJob, JobRange{}, nullptr, nullptr);
  Enqueue(*queue, kTaskJob, Tasks(4), CountIndex, runs.data());
  EXPECT_TRUE(Eventually([&] { return gate.entered.load() == 1; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  for (const auto& run : runs) EXPECT_EQ(run.load(), 0);
  gate.open.store(true);
  WaitIdle(*queue);
  for (const auto& run : runs) EXPECT_EQ(run.load(), 1);
  EXPECT_EQ(queue->head.load(), 3);
}

TEST(Queue, ShutdownJobSendsEveryWorkerHome) {
  const OwnedQueue queue = MakeQueue(3);
  std::vector<std::atomic<int>> runs(1);
  Enqueue(*queue, kTaskJob, Tasks(1), CountIndex, runs.data());
  Enqueue(*queue, kShutdownJob, JobRange{}, nullptr, nullptr);
  for (WorkerRecord& worker : queue->workers) EXPECT_TRUE(tlr2::ThreadWait(worker.thread, 10000));
  EXPECT_EQ(runs[0].load(), 1);
  EXPECT_EQ(queue->head.load(), 1);  // the shutdown itself is never retired
}

TEST(Queue, ShutdownHidesWhatIsBehindItAndIsReachedOnlyAtTheHead) {
  const OwnedQueue queue = MakeQueue(3);
  Gate gate;
  std::vector<std::atomic<int>> runs(4);
  Enqueue(*queue, kTaskJob, Tasks(1), Gate::Pass, &gate);
  Enqueue(*queue, kShutdownJob, JobRange{}, nullptr, nullptr);
  Enqueue(*queue, kTaskJob, Tasks(4), CountIndex, runs.data());
  EXPECT_TRUE(Eventually([&] { return gate.entered.load() == 1; }));
  for (WorkerRecord& worker : queue->workers) EXPECT_FALSE(tlr2::ThreadWait(worker.thread, 30)) << worker.index;
  EXPECT_EQ(queue->head.load(), 0);
  gate.open.store(true);
  for (WorkerRecord& worker : queue->workers) EXPECT_TRUE(tlr2::ThreadWait(worker.thread, 10000)) << worker.index;
  EXPECT_EQ(gate.left.load(), 1);
  EXPECT_EQ(queue->head.load(), 1);
  for (const auto& run : runs) EXPECT_EQ(run.load(), 0);
}

TEST(Queue, BarriersKeepTheOrderOfWhatTheyStandBetween) {
  constexpr int kJobs = 6, kTasksEach = 5, kRepeats = 300;
  const OwnedQueue queue = MakeQueue(4);
  struct Stretch {
    std::atomic<int>* finished;
    int before;  // tasks ahead of the last barrier
    std::atomic<int>* early;
    static void Run(const JobRange*, std::int32_t index, void* context) {
      const auto& stretch = *static_cast<const Stretch*>(context);
      if (stretch.finished->load(std::memory_order_relaxed) < stretch.before) stretch.early->fetch_add(1);
      if (index == 0) std::this_thread::yield();
      stretch.finished->fetch_add(1, std::memory_order_relaxed);
    }
  };
  std::atomic<int> finished{0}, early{0};
  std::vector<Stretch> stretches(kJobs);
  for (int repeat = 0; repeat < kRepeats; ++repeat) {
    finished.store(0);
    for (int i = 0; i < kJobs; ++i) {
      stretches[i] = Stretch{&finished, i / 2 * 2 * kTasksEach, &early};
      if (i > 0 && i % 2 == 0) Enqueue(*queue, kBarrierJob, JobRange{}, nullptr, nullptr);
      Enqueue(*queue, kTaskJob, Tasks(kTasksEach), Stretch::Run, &stretches[i]);
    }
    WaitIdle(*queue);
    ASSERT_EQ(finished.load(), kJobs * kTasksEach);
    ASSERT_EQ(early.load(), 0) << "in round " << repeat;
  }
}

TEST(Queue, TicketsWrapAround) {
  QueueOptions options;
  options.firstTicket = 0x7FFFFFFF - 100;
  const OwnedQueue queue = MakeQueue(2, options);
  std::vector<std::atomic<int>> runs(3);
  for (int i = 0; i < 300; ++i) Enqueue(*queue, kTaskJob, Tasks(3), CountIndex, runs.data());
  WaitIdle(*queue);
  for (const auto& run : runs) EXPECT_EQ(run.load(), 300);
  EXPECT_LT(queue->head.load(), 0);
  EXPECT_EQ(queue->head.load(), queue->tail.load());
}

TEST(Queue, TicketsPassMinusOne) {
  QueueOptions options;
  options.firstTicket = -100;
  const OwnedQueue queue = MakeQueue(2, options);
  std::vector<std::atomic<int>> runs(1);
  for (int i = 0; i < 300; ++i) Enqueue(*queue, kTaskJob, Tasks(1), CountIndex, runs.data());
  WaitIdle(*queue);
  EXPECT_EQ(runs[0].load(), 300);
  EXPECT_EQ(queue->head.load(), 200);
}

TEST(Queue, ClaimWordOfTheLapBeforeIsAnother) {
  const OwnedQueue queue = MakeQueue(1);
  std::vector<std::atomic<int>> runs(4);
  Gate gate;
  Enqueue(*queue, kTaskJob, Tasks(1), Gate::Pass, &gate);  // keeps the one worker busy
  Enqueue(*queue, kTaskJob, Tasks(4), CountIndex, runs.data());
  std::uint64_t stale = queue->SlotOf(1).nextTask.load();
  EXPECT_EQ(TicketOf(stale), 1u);
  EXPECT_EQ(LeftOf(stale), 4u);
  gate.open.store(true);
  WaitIdle(*queue);
  Gate second;
  Enqueue(*queue, kTaskJob, Tasks(1), Gate::Pass, &second);
  for (int i = 3; i < 65; ++i) Enqueue(*queue, kTaskJob, Tasks(1), CountIndex, runs.data());
  Enqueue(*queue, kTaskJob, Tasks(4), CountIndex, runs.data());  // ticket 65: the same slot, the same task count
  EXPECT_EQ(LeftOf(queue->SlotOf(65).nextTask.load()), 4u);
  EXPECT_FALSE(queue->SlotOf(65).nextTask.compare_exchange_strong(stale, stale - 1));
  second.open.store(true);
  WaitIdle(*queue);
  EXPECT_EQ(runs[3].load(), 2);
}

// What a finisher left over from an earlier job does must not retire the job that has its slot now.
TEST(Queue, RetireLeavesUnfinishedJobAlone) {
  const OwnedQueue queue = MakeQueue(1);
  Gate gate;
  Enqueue(*queue, kTaskJob, Tasks(1), Gate::Pass, &gate);
  EXPECT_TRUE(Eventually([&] { return gate.entered.load() == 1; }));
  for (int i = 0; i < 100; ++i) Retire(*queue);
  EXPECT_EQ(queue->head.load(), 0);
  gate.open.store(true);
  WaitIdle(*queue);
  Retire(*queue);
  EXPECT_EQ(queue->head.load(), 1);  // the slot behind holds no job, though it is "emptied"
}

TEST(Queue, WorkersStartedAsleepWakeForWork) {
  const tlr2::test::ScopedEnvironment spin("TLR2_RJQ_IDLE_SPIN_US", "0");
  const OwnedQueue queue = MakeQueue(4);
  EXPECT_EQ(queue->spinTicks, 0);
  std::vector<std::atomic<int>> runs(1);
  for (int i = 0; i < 50; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    Enqueue(*queue, kTaskJob, Tasks(1), CountIndex, runs.data());
    WaitIdle(*queue);
  }
  EXPECT_EQ(runs[0].load(), 50);
}

TEST(Queue, WorkersThatSeeATicketWithoutItsJobWaitForTheJob) {
  const tlr2::test::ScopedEnvironment spin("TLR2_RJQ_IDLE_SPIN_US", "0");
  const OwnedQueue queue = MakeQueue(2);
  // As between a producer's first step and its last: the ticket is taken, the slot not yet filled.
  queue->tail.fetch_add(1);
  queue->wake.fetch_add(1);
  tlr2::WakeAllOnWord(queue->wake);
  std::this_thread::sleep_for(std::chrono::milliseconds(50));  // the workers look at the slot and fall asleep
  queue->tail.fetch_sub(1);
  std::vector<std::atomic<int>> runs(1);
  Enqueue(*queue, kTaskJob, Tasks(1), CountIndex, runs.data());
  EXPECT_TRUE(Eventually([&] { return queue->head.load() == 1; }));
  tlr2::WakeAllOnWord(queue->head);  // whoever sleeps there after all
  WaitIdle(*queue);
  EXPECT_EQ(runs[0].load(), 1);
}

TEST(Queue, SeveralProducersShareTheRing) {
  const OwnedQueue queue = MakeQueue(3);
  std::vector<std::atomic<int>> runs(5);
  std::vector<std::thread> producers;
  for (int p = 0; p < 4; ++p)
    producers.emplace_back([&] {
      for (int i = 0; i < 500; ++i) Enqueue(*queue, kTaskJob, Tasks(5), CountIndex, runs.data());
      WaitIdle(*queue);
    });
  for (auto& producer : producers) producer.join();
  WaitIdle(*queue);
  for (const auto& run : runs) EXPECT_EQ(run.load(), 2000);
}

TEST(Queue, SlotIsThreeCacheLines) {
  EXPECT_EQ(sizeof(JobSlot), 192u);
  EXPECT_EQ(alignof(JobSlot), 64u);
  EXPECT_EQ(offsetof(JobSlot, nextTask) / 64, 1u);
  EXPECT_EQ(offsetof(JobSlot, doneTasks) / 64, 1u);
  EXPECT_EQ(offsetof(JobSlot, completed) / 64, 2u);
  EXPECT_EQ(offsetof(JobSlot, ticket) / 64, 2u);
  const OwnedQueue queue = MakeQueue(1);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(queue->slots.data()) % 64, 0u);
}

}  // namespace
}  // namespace RJQ::test
