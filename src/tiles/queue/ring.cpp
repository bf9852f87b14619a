// Start and stop of a queue, and the producer's side of the ring.
#include "tiles/queue/ring.h"

#include <memory>

#include "platform/sync.h"
#include "settings/profiler.h"
#include "tiles/queue/idle_spin.h"

namespace RJQ {

const QueueCalls kSystemCalls = {tlr2::ThreadStart, tlr2::ThreadPinCurrent, tlr2::ThreadPreferCurrent};

namespace {

constexpr std::int32_t kLeastCapacity = 8;
constexpr std::uint32_t kStopPollMs = 10;

std::uint32_t Bits(std::int32_t ticket) noexcept { return static_cast<std::uint32_t>(ticket); }

/// How far `a` is ahead of `b`.
std::int32_t Distance(std::uint32_t a, std::uint32_t b) noexcept { return static_cast<std::int32_t>(a - b); }

void ClearSlots(RenderJobQueue& queue, std::int32_t firstTicket) {
  queue.slots = std::vector<JobSlot>(static_cast<std::size_t>(queue.capacity));
  for (std::int32_t i = 0; i < queue.capacity; ++i) {
    // Every slot starts as the emptied slot of one lap ago: a zeroed one would pass for the first job.
    const std::uint32_t lapAgo = Bits(firstTicket) + Bits(i) - Bits(queue.capacity);
    JobSlot& slot = queue.SlotOf(lapAgo);
    slot.ticket.store(static_cast<std::int32_t>(lapAgo), std::memory_order_relaxed);
    slot.nextTask.store(MakeClaim(lapAgo, 0), std::memory_order_relaxed);
  }
}

/// What a job's claim word starts with. A job without tasks is never completed.
std::uint32_t InitialLeft(std::uint32_t type, const JobRange& range) noexcept {
  if (type == kBarrierJob) return kPendingBarrier;
  if (type == kShutdownJob) return kPendingShutdown;
  return range.taskCount > 0 ? static_cast<std::uint32_t>(range.taskCount) : 0;
}

void AskToStop(RenderJobQueue& queue) noexcept {
  queue.stop.store(1, std::memory_order_release);
  queue.wake.fetch_add(1, std::memory_order_release);
  tlr2::WakeAllOnWord(queue.wake);
}

}  // namespace

RenderJobQueue* StartQueue(const QueueOptions& options) {
  if (options.capacity < kLeastCapacity || (options.capacity & (options.capacity - 1)) != 0) return nullptr;
  auto queue = std::make_unique<RenderJobQueue>();
  queue->capacity = options.capacity;
  queue->calls = options.calls;
  ClearSlots(*queue, options.firstTicket);

  queue->processors = options.processors != nullptr ? *options.processors : tlr2::EnumerateProcessors();
  if (queue->processors.empty()) return nullptr;
  if (options.workerCap >= 1 && static_cast<std::size_t>(options.workerCap) < queue->processors.size())
    queue->processors.resize(static_cast<std::size_t>(options.workerCap));
  queue->workerCount = static_cast<std::int32_t>(queue->processors.size());
  queue->workers.resize(queue->processors.size());

  queue->tail.store(options.firstTicket, std::memory_order_relaxed);
  queue->head.store(options.firstTicket, std::memory_order_relaxed);
  queue->spinTicks = IdleSpinTicks(ReadIdleSpinUs());
  queue->started.store(1, std::memory_order_relaxed);

  for (std::int32_t i = 0; i < queue->workerCount; ++i) {
    WorkerRecord& worker = queue->workers[static_cast<std::size_t>(i)];
    worker.queue = queue.get();
    worker.index = i;
    worker.processor = queue->processors[static_cast<std::size_t>(i)];
    queue->holders.fetch_add(1, std::memory_order_relaxed);
    if (queue->calls.startThread(worker.thread, ExecuteTiles, &worker)) continue;
    // The threads that did start are told to leave but not waited for: at library load they run only after the
    // loader has finished. The last of them frees the queue.
    queue->started.store(0, std::memory_order_relaxed);
    for (WorkerRecord& begun : queue->workers) tlr2::ThreadClose(begun.thread);
    AskToStop(*queue);
    queue->holders.fetch_sub(1, std::memory_order_relaxed);  // the worker that there is no thread for
    ReleaseQueue(queue.release());
    return nullptr;
  }
  return queue.release();
}

void ReleaseQueue(RenderJobQueue* queue) noexcept {
  if (queue->holders.fetch_sub(1, std::memory_order_acq_rel) == 1) delete queue;
}

void StopQueue(RenderJobQueue* queue) noexcept {
  if (queue == nullptr) return;
  if (queue->started.exchange(0, std::memory_order_acq_rel) != 0) {
    AskToStop(*queue);
    for (WorkerRecord& worker : queue->workers) {
      // A worker may be asleep on `head` behind a job that never ends, where the raised `wake` does not reach it.
      while (!tlr2::ThreadWait(worker.thread, kStopPollMs)) tlr2::WakeAllOnWord(queue->head);
      tlr2::ThreadClose(worker.thread);
    }
  }
  ReleaseQueue(queue);
}

std::int32_t WorkerCount(const RenderJobQueue* queue) noexcept { return queue != nullptr ? queue->workerCount : 0; }

std::int32_t Enqueue(RenderJobQueue& queue, std::uint32_t type, const JobRange& range, JobFn fn, void* context) {
  const tlr2::ScopeTimer scope("RJQ::RenderJobQueue::Enqueue");
  const std::int32_t ticket = queue.tail.fetch_add(1, std::memory_order_acq_rel);
  for (;;) {
    // Acquire: the slot's last readers are done with it once `head` has passed their job.
    const std::int32_t head = queue.head.load(std::memory_order_acquire);
    if (Distance(Bits(ticket), Bits(head)) < queue.capacity) break;
    tlr2::WaitOnWord(queue.head, head);
  }

  JobSlot& slot = queue.SlotOf(Bits(ticket));
  slot.type = type;
  slot.range = range;
  slot.fn = fn;
  slot.context = context;
  slot.doneTasks.store(0, std::memory_order_relaxed);
  slot.completed.store(0, std::memory_order_relaxed);
  // The two publications come last: first for those who retire, who must find `completed` reset, then for those who
  // claim, who must find everything.
  slot.ticket.store(ticket, std::memory_order_release);
  slot.nextTask.store(MakeClaim(Bits(ticket), InitialLeft(type, range)), std::memory_order_release);

  // After the publication, so that a worker that saw the slot unfilled and sleeps on the old `wake` is woken.
  queue.wake.fetch_add(1, std::memory_order_release);
  tlr2::WakeAllOnWord(queue.wake);
  return ticket;
}

void WaitIdle(RenderJobQueue& queue) {
  const tlr2::ScopeTimer scope("RJQ::RenderJobQueue::WaitIdle");
  const std::int32_t target = queue.tail.load(std::memory_order_acquire);
  for (;;) {
    const std::int32_t head = queue.head.load(std::memory_order_acquire);
    if (Distance(Bits(head), Bits(target)) >= 0) return;
    tlr2::WaitOnWord(queue.head, head);
  }
}

void Retire(RenderJobQueue& queue) noexcept {
  // Two jobs may finish at once, each finisher storing its own `completed` and looking at the other's. Sequential
  // consistency here and at that store makes sure that one of them sees both; with less, both could leave and `head`
  // would stand still.
  for (;;) {
    std::int32_t head = queue.head.load(std::memory_order_seq_cst);
    const JobSlot& slot = queue.SlotOf(Bits(head));
    if (slot.ticket.load(std::memory_order_acquire) != head) return;
    if (slot.completed.load(std::memory_order_seq_cst) == 0) return;
    const auto next = static_cast<std::int32_t>(Bits(head) + 1);
    if (queue.head.compare_exchange_strong(head, next, std::memory_order_seq_cst)) tlr2::WakeAllOnWord(queue.head);
  }
}

}  // namespace RJQ
