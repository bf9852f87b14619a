// RJQ::RenderJobQueue: the driver's one pool of worker threads, a small lock-free ring of jobs.
#pragma once

#include <cstddef>
#include <cstdint>

namespace RJQ {

/// Four user words and the number of tasks.
struct JobRange {
  std::uint32_t user[4];
  std::int32_t taskCount;
};
static_assert(sizeof(JobRange) == 20);

using JobFn = void (*)(const JobRange* range, std::int32_t taskIndex, void* context);

enum JobType : std::uint32_t { kTaskJob = 1, kBarrierJob = 3, kShutdownJob = 4 };

class RenderJobQueue;

/// The global pool, or null: the driver then works on the calling thread.
RenderJobQueue* Pool() noexcept;
/// Makes the global pool of at most `workerCap` workers; false leaves it null.
bool StartPool(std::int32_t capacity, std::int32_t workerCap) noexcept;
/// Sets the global pointer to null; threads are neither stopped nor joined.
void ForgetPool() noexcept;
/// Stops and joins the global pool's threads and frees it; for tests and tools.
void StopPool() noexcept;

std::int32_t WorkerCount(const RenderJobQueue* queue) noexcept;
/// Returns the job's ticket; blocks while the ring is full.
std::int32_t Enqueue(RenderJobQueue& queue, std::uint32_t type, const JobRange& range, JobFn fn, void* context);
/// Blocks until every job enqueued before the call has retired.
void WaitIdle(RenderJobQueue& queue);

}  // namespace RJQ

namespace tlr2 {

/// Runs `fn(0..count-1, context)`, spread over the pool if there is one and count is not 1; returns when all are done.
void ParallelFor(std::int32_t count, void (*fn)(std::int32_t index, void* context), void* context);
/// The pool's workers limited by the WorkerLimit setting; at least 1.
std::int32_t ActiveWorkerCount() noexcept;

}  // namespace tlr2
