// The global pool, ParallelFor, and the active worker count.
#include "private_queue.h"
#include "settings/settings.h"

namespace RJQ::test {
namespace {

class Pool : public testing::Test {
 protected:
  void TearDown() override {
    StopPool();
    tlr2::Settings().workerLimit = 0;
  }
};

void CountCall(std::int32_t index, void* context) { static_cast<std::atomic<int>*>(context)[index].fetch_add(1); }

TEST_F(Pool, StartsOnceWithTheMachinesProcessors) {
  EXPECT_EQ(RJQ::Pool(), nullptr);
  ASSERT_TRUE(StartPool(64, 0));
  RenderJobQueue* const pool = RJQ::Pool();
  ASSERT_NE(pool, nullptr);
  EXPECT_EQ(WorkerCount(pool), static_cast<std::int32_t>(tlr2::EnumerateProcessors().size()));
  EXPECT_FALSE(StartPool(64, 0));
  EXPECT_EQ(RJQ::Pool(), pool);
}

TEST_F(Pool, BadCapacityLeavesNoPool) {
  EXPECT_FALSE(StartPool(12, 0));
  EXPECT_EQ(RJQ::Pool(), nullptr);
  EXPECT_EQ(WorkerCount(nullptr), 0);
}

TEST_F(Pool, CapOfOneIsAPoolOfOne) {
  ASSERT_TRUE(StartPool(64, 1));
  EXPECT_EQ(WorkerCount(RJQ::Pool()), 1);
}

TEST_F(Pool, ForgottenPoolGoesOnWorking) {
  ASSERT_TRUE(StartPool(64, 1));
  RenderJobQueue* const pool = RJQ::Pool();
  ForgetPool();
  EXPECT_EQ(RJQ::Pool(), nullptr);
  Gate gate;
  gate.open.store(true);
  Enqueue(*pool, kTaskJob, Tasks(3), Gate::Pass, &gate);
  WaitIdle(*pool);
  EXPECT_EQ(gate.left.load(), 3);
  StopQueue(pool);
}

TEST_F(Pool, ParallelForWithoutPoolRunsInOrderHere) {
  struct Order {
    std::vector<std::int32_t> indices;
    std::thread::id thread;
  } order;
  tlr2::ParallelFor(
      5,
      [](std::int32_t index, void* context) {
        auto& seen = *static_cast<Order*>(context);
        seen.indices.push_back(index);
        seen.thread = std::this_thread::get_id();
      },
      &order);
  EXPECT_EQ(order.indices, (std::vector<std::int32_t>{0, 1, 2, 3, 4}));
  EXPECT_EQ(order.thread, std::this_thread::get_id());
}

TEST_F(Pool, ParallelForRunsEveryIndexOnThePool) {
  ASSERT_TRUE(StartPool(64, 2));
  std::vector<std::atomic<int>> runs(300);
  tlr2::ParallelFor(300, CountCall, runs.data());
  for (const auto& run : runs) EXPECT_EQ(run.load(), 1);
  EXPECT_EQ(RJQ::Pool()->tail.load(), 1);
  const JobSlot& slot = RJQ::Pool()->SlotOf(0);
  EXPECT_EQ(slot.type, kTaskJob);
  for (const std::uint32_t word : slot.range.user) EXPECT_EQ(word, 0u);
}

TEST_F(Pool, ParallelForOfOneStaysHere) {
  ASSERT_TRUE(StartPool(64, 2));
  std::thread::id thread;
  tlr2::ParallelFor(
      1, [](std::int32_t, void* context) { *static_cast<std::thread::id*>(context) = std::this_thread::get_id(); },
      &thread);
  EXPECT_EQ(thread, std::this_thread::get_id());
  EXPECT_EQ(RJQ::Pool()->tail.load(), 0);
}

TEST_F(Pool, ParallelForOfNothingDoesNothing) {
  ASSERT_TRUE(StartPool(64, 1));
  std::vector<std::atomic<int>> runs(1);
  tlr2::ParallelFor(0, CountCall, runs.data());
  tlr2::ParallelFor(-3, CountCall, runs.data());
  tlr2::ParallelFor(4, nullptr, runs.data());
  EXPECT_EQ(runs[0].load(), 0);
  EXPECT_EQ(RJQ::Pool()->tail.load(), 0);
}

TEST_F(Pool, ActiveWorkersAreThePoolUnderTheLimit) {
  EXPECT_EQ(tlr2::ActiveWorkerCount(), 1);
  tlr2::Settings().workerLimit = 7;
  EXPECT_EQ(tlr2::ActiveWorkerCount(), 1);
  tlr2::Settings().workerLimit = 0;
  ASSERT_TRUE(StartPool(64, 2));
  const std::int32_t all = WorkerCount(RJQ::Pool());
  EXPECT_EQ(tlr2::ActiveWorkerCount(), all);
  tlr2::Settings().workerLimit = 1;
  EXPECT_EQ(tlr2::ActiveWorkerCount(), 1);
  tlr2::Settings().workerLimit = all;
  EXPECT_EQ(tlr2::ActiveWorkerCount(), all);
  tlr2::Settings().workerLimit = all + 1;
  EXPECT_EQ(tlr2::ActiveWorkerCount(), all);
  tlr2::Settings().workerLimit = -2;
  EXPECT_EQ(tlr2::ActiveWorkerCount(), 1);
}

}  // namespace
}  // namespace RJQ::test
