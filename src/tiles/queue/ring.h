// The queue's own record: the ring of jobs and the threads that work on it. Only the queue and its tests see inside.
#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "platform/thread.h"
#include "platform/topology.h"
#include "tiles/queue/job_slot.h"
#include "tiles/queue/render_job_queue.h"

namespace RJQ {

/// What the queue asks of the system; tests put their own in place.
struct QueueCalls {
  bool (*startThread)(tlr2::ThreadHandle& thread, tlr2::ThreadMain main, void* argument) noexcept;
  void (*pin)(std::uint16_t group, std::uint64_t mask) noexcept;
  void (*prefer)(std::uint16_t group, std::uint8_t index) noexcept;
};
extern const QueueCalls kSystemCalls;

struct WorkerRecord {
  RenderJobQueue* queue = nullptr;
  std::int32_t index = 0;
  tlr2::ProcessorSlot processor;
  tlr2::ThreadHandle thread;
};

class RenderJobQueue {
 public:
  std::int32_t capacity = 0;  // a power of two, at least 8
  std::vector<JobSlot> slots;
  // Tickets wrap around at 32 bits, so they are compared by their difference. Idle workers watch `head` and `wake`,
  // which therefore stand apart from each other and from `tail`.
  alignas(64) std::atomic<std::int32_t> tail{0};  // next ticket
  alignas(64) std::atomic<std::int32_t> head{0};  // first ticket not yet retired
  alignas(64) std::atomic<std::int32_t> wake{0};  // generation of enqueued work
  alignas(64) std::int64_t spinTicks = 0;
  std::vector<tlr2::ProcessorSlot> processors;
  std::vector<WorkerRecord> workers;
  std::int32_t workerCount = 0;
  std::atomic<std::uint8_t> started{0};
  std::atomic<std::uint8_t> stop{0};
  QueueCalls calls = kSystemCalls;
  std::atomic<std::int32_t> holders{1};  // the owner and each worker; the last to let go frees the queue

  JobSlot& SlotOf(std::uint32_t ticket) noexcept { return slots[ticket & static_cast<std::uint32_t>(capacity - 1)]; }
};

struct QueueOptions {
  std::int32_t capacity = 64;
  std::int32_t workerCap = 0;                                    // below 1: one worker a processor
  const std::vector<tlr2::ProcessorSlot>* processors = nullptr;  // null: those of the machine
  QueueCalls calls = kSystemCalls;
  std::int32_t firstTicket = 0;
};

/// Null when the capacity is bad, there are no processors or a thread cannot be had.
RenderJobQueue* StartQueue(const QueueOptions& options);
/// Lets the workers finish the tasks they hold, joins them and frees the queue.
void StopQueue(RenderJobQueue* queue) noexcept;

/// A worker's thread; `record` is its WorkerRecord.
void ExecuteTiles(void* record);
/// Moves `head` past every finished job that stands there.
void Retire(RenderJobQueue& queue) noexcept;
void ReleaseQueue(RenderJobQueue* queue) noexcept;

/// Bound to their processors only above this many workers.
inline constexpr std::int32_t kMostUnpinnedWorkers = 128;

}  // namespace RJQ
