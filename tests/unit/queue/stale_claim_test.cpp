// The worker that reads a slot, is preempted for a lap of the ring, and then claims. The worker's own code is stopped
// between the two: its slot lies in memory that cannot be written, so the claim faults, and is taken up again when the
// handler returns.
#if !defined(_WIN32)
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include "private_queue.h"
#include "sanitizers.h"

namespace RJQ::test {
namespace {

std::atomic<void*> faultedAt{nullptr};
std::atomic<bool> goOn{false};

void HoldTheFaultedThread(int, siginfo_t* info, void*) {
  faultedAt.store(info->si_addr);
  while (!goOn.load()) sched_yield();
}

/// For its life, a write to memory that cannot be written waits for `goOn`.
class FaultsWait {
 public:
  FaultsWait() {
    faultedAt.store(nullptr);
    goOn.store(false);
    struct sigaction action = {};
    action.sa_sigaction = HoldTheFaultedThread;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSEGV, &action, &before_);
  }
  ~FaultsWait() { sigaction(SIGSEGV, &before_, nullptr); }

 private:
  struct sigaction before_ = {};
};

void CountIndex(const JobRange*, std::int32_t index, void* context) {
  static_cast<std::atomic<int>*>(context)[index].fetch_add(1);
}

TEST(Queue, StaleClaimTakesNothing) {
#if TLR2_THREAD_SANITIZER
  GTEST_SKIP() << "SKIPPED: the sanitizer writes in the thread's place";
#endif
  const auto pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  constexpr std::int32_t kCapacity = 1024;
  constexpr std::int32_t kTasks = 4;
  Gate first, second, third;
  std::vector<std::atomic<int>> filler(1), early(kTasks), late(kTasks);
  QueueOptions options;
  options.capacity = kCapacity;
  const OwnedQueue queue = MakeQueue(2, options);
  ASSERT_NE(queue, nullptr);

  // Up to a job whose slot begins a page, so that the two before it stay writable.
  const auto startsPage = [&](std::int32_t ticket) {
    return reinterpret_cast<std::uintptr_t>(&queue->SlotOf(static_cast<std::uint32_t>(ticket))) % pageSize == 0;
  };
  while (!startsPage(queue->tail.load() + 2) && queue->tail.load() < kCapacity / 2)
    Enqueue(*queue, kTaskJob, Tasks(1), CountIndex, filler.data());
  WaitIdle(*queue);
  ASSERT_TRUE(startsPage(queue->tail.load() + 2));

  Enqueue(*queue, kTaskJob, Tasks(1), Gate::Pass, &first);
  Enqueue(*queue, kTaskJob, Tasks(1), Gate::Pass, &second);
  ASSERT_TRUE(Eventually([&] { return first.entered.load() == 1 && second.entered.load() == 1; }));
  const std::int32_t ticket = Enqueue(*queue, kTaskJob, Tasks(kTasks), CountIndex, early.data());
  JobSlot& slot = queue->SlotOf(static_cast<std::uint32_t>(ticket));

  const FaultsWait faults;
  ASSERT_EQ(mprotect(&slot, pageSize, PROT_READ), 0);
  first.open.store(true);
  const bool faulted = Eventually([&] { return faultedAt.load() != nullptr; });
  ASSERT_EQ(mprotect(&slot, pageSize, PROT_READ | PROT_WRITE), 0);
  EXPECT_TRUE(faulted);
  EXPECT_EQ(faultedAt.load(), &slot.nextTask) << "the worker has read the claim word and is about to exchange it";

  // The other worker runs that job and a lap of the ring. The slot's next job looks the same but for its ticket, and
  // stands behind a barrier, so that nobody may take from it.
  second.open.store(true);
  WaitIdle(*queue);
  for (int i = 0; i < kCapacity - 3; ++i) Enqueue(*queue, kTaskJob, Tasks(1), CountIndex, filler.data());
  Enqueue(*queue, kTaskJob, Tasks(1), Gate::Pass, &third);
  Enqueue(*queue, kBarrierJob, JobRange{}, nullptr, nullptr);
  EXPECT_EQ(Enqueue(*queue, kTaskJob, Tasks(kTasks), CountIndex, late.data()), ticket + kCapacity);
  EXPECT_TRUE(Eventually([&] { return third.entered.load() == 1; }));
  EXPECT_EQ(LeftOf(slot.nextTask.load()), static_cast<std::uint32_t>(kTasks));
  goOn.store(true);
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(LeftOf(slot.nextTask.load()), static_cast<std::uint32_t>(kTasks));
  for (const auto& run : late) EXPECT_EQ(run.load(), 0);

  third.open.store(true);
  WaitIdle(*queue);
  for (const auto& run : early) EXPECT_EQ(run.load(), 1);
  for (const auto& run : late) EXPECT_EQ(run.load(), 1);
}

}  // namespace
}  // namespace RJQ::test
#endif
