// The worker's loop: claim one task at a time, retire finished jobs, spin, sleep.
#include <bit>

#include "platform/clock.h"
#include "platform/float_rules.h"
#include "platform/sync.h"
#include "settings/profiler.h"
#include "tiles/queue/ring.h"

namespace RJQ {

namespace {

enum class Next {
  kPass,         // look again
  kSleepOnWake,  // nothing to claim until something is published
  kSleepOnHead,  // all is claimed, or hidden behind a barrier: nothing to claim until a job retires
  kLeave,
};

bool Stopping(const RenderJobQueue& queue) noexcept { return queue.stop.load(std::memory_order_acquire) != 0; }

/// After this, the slot belongs to the job's other tasks and to whoever retires it.
void Complete(RenderJobQueue& queue, JobSlot& slot) noexcept {
  slot.completed.exchange(1, std::memory_order_seq_cst);
  Retire(queue);
}

/// Runs the task that was claimed as one of the last `left`.
void RunTask(RenderJobQueue& queue, JobSlot& slot, std::uint32_t left) {
  const std::int32_t taskCount = slot.range.taskCount;  // kept: when others finish the job, the slot is filled anew
  {
    const tlr2::ScopeTimer scope("RJQ::Worker::ExecuteTiles");
    slot.fn(&slot.range, taskCount - static_cast<std::int32_t>(left), slot.context);
  }
  if (slot.doneTasks.fetch_add(1, std::memory_order_acq_rel) + 1 == taskCount) Complete(queue, slot);
}

/// Walks the jobs from `head` to `tail` and does the first thing there is to do.
Next WorkOnce(RenderJobQueue& queue, std::uint32_t head, std::uint32_t tail) {
  for (std::uint32_t ticket = head; ticket != tail; ++ticket) {
    JobSlot& slot = queue.SlotOf(ticket);
    std::uint64_t claim = slot.nextTask.load(std::memory_order_acquire);
    for (;;) {
      if (TicketOf(claim) != ticket) {
        const bool filledAnew = static_cast<std::int32_t>(TicketOf(claim) - ticket) > 0;
        return filledAnew ? Next::kPass : Next::kSleepOnWake;
      }
      const std::uint32_t left = LeftOf(claim);
      if (left == 0) break;
      if ((left & kPendingMark) != 0) {
        // A barrier or shutdown hides what is behind it and is acted on only at the head.
        if (ticket != head) return Next::kSleepOnHead;
        if (left == kPendingShutdown) return Next::kLeave;
        if (slot.nextTask.compare_exchange_strong(claim, MakeClaim(ticket, 0), std::memory_order_acq_rel))
          Complete(queue, slot);
        return Next::kPass;
      }
      if (slot.nextTask.compare_exchange_weak(claim, claim - 1, std::memory_order_acq_rel, std::memory_order_acquire)) {
        RunTask(queue, slot, left);
        return Next::kPass;
      }
    }
  }
  return Next::kSleepOnHead;
}

/// Spins until `changed()` or the idle time is over; false in the latter case.
template <typename Changed>
bool Spin(const RenderJobQueue& queue, Changed changed) noexcept {
  if (queue.spinTicks <= 0) return changed();
  const std::int64_t deadline = tlr2::TicksNow() + queue.spinTicks;
  do {
    if (changed()) return true;
    tlr2::SpinPause();
  } while (tlr2::TicksNow() < deadline);
  return changed();
}

void BindToProcessor(const WorkerRecord& worker) noexcept {
  const tlr2::ProcessorSlot& processor = worker.processor;
  worker.queue->calls.pin(processor.group, processor.mask);
  if (processor.mask != 0)
    worker.queue->calls.prefer(processor.group, static_cast<std::uint8_t>(std::countr_zero(processor.mask)));
}

void Work(RenderJobQueue& queue) {
  while (!Stopping(queue)) {
    // Read before the ring: whatever is published later raises `wake` past this value, and so ends every sleep on it.
    const std::int32_t seen = queue.wake.load(std::memory_order_acquire);
    const std::int32_t head = queue.head.load(std::memory_order_acquire);
    const std::int32_t tail = queue.tail.load(std::memory_order_acquire);
    const auto woken = [&queue, seen] { return Stopping(queue) || queue.wake.load(std::memory_order_relaxed) != seen; };
    const Next next = head == tail
                          ? Next::kSleepOnWake
                          : WorkOnce(queue, static_cast<std::uint32_t>(head), static_cast<std::uint32_t>(tail));
    switch (next) {
      case Next::kPass:
        break;
      case Next::kSleepOnWake:
        if (!Spin(queue, woken)) tlr2::WaitOnWord(queue.wake, seen);
        break;
      case Next::kSleepOnHead: {
        // Released by the retirement of a job, not by a new one: a worker asleep here leaves new work to the others.
        const auto moved = [&] { return woken() || queue.head.load(std::memory_order_relaxed) != head; };
        if (!Spin(queue, moved)) tlr2::WaitOnWord(queue.head, head);
        break;
      }
      case Next::kLeave:
        return;
    }
  }
}

}  // namespace

void ExecuteTiles(void* record) {
  const tlr2::FloatRules rules;
  const auto* worker = static_cast<const WorkerRecord*>(record);
  RenderJobQueue* const queue = worker->queue;
  // Fewer are left to the scheduler, on every layout of groups.
  if (queue->workerCount > kMostUnpinnedWorkers) BindToProcessor(*worker);
  Work(*queue);
  ReleaseQueue(queue);
}

}  // namespace RJQ
