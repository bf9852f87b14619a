// The global pool, and the convenience form that spreads a loop over it.
#include <new>

#include "settings/settings.h"
#include "tiles/queue/ring.h"

namespace RJQ {

namespace {
constinit std::atomic<RenderJobQueue*> pool{nullptr};
}

RenderJobQueue* Pool() noexcept { return pool.load(std::memory_order_acquire); }

bool StartPool(std::int32_t capacity, std::int32_t workerCap) noexcept {
  if (Pool() != nullptr) return false;
  QueueOptions options;
  options.capacity = capacity;
  options.workerCap = workerCap;
  try {
    pool.store(StartQueue(options), std::memory_order_release);
  } catch (const std::bad_alloc&) {
    return false;  // the driver works without a pool
  }
  return Pool() != nullptr;
}

void ForgetPool() noexcept { pool.store(nullptr, std::memory_order_release); }

void StopPool() noexcept { StopQueue(pool.exchange(nullptr, std::memory_order_acq_rel)); }

}  // namespace RJQ

namespace tlr2 {

namespace {

struct LoopBody {
  void (*fn)(std::int32_t index, void* context);
  void* context;
};

void RunIndex(const RJQ::JobRange*, std::int32_t taskIndex, void* context) {
  const auto* body = static_cast<const LoopBody*>(context);
  body->fn(taskIndex, body->context);
}

}  // namespace

void ParallelFor(std::int32_t count, void (*fn)(std::int32_t index, void* context), void* context) {
  if (count < 1 || fn == nullptr) return;
  RJQ::RenderJobQueue* const queue = RJQ::Pool();
  if (queue == nullptr || count == 1) {
    for (std::int32_t i = 0; i < count; ++i) fn(i, context);
    return;
  }
  LoopBody body{fn, context};
  RJQ::Enqueue(*queue, RJQ::kTaskJob, RJQ::JobRange{{0, 0, 0, 0}, count}, RunIndex, &body);
  RJQ::WaitIdle(*queue);
}

std::int32_t ActiveWorkerCount() noexcept {
  const RJQ::RenderJobQueue* const queue = RJQ::Pool();
  std::int32_t count = queue != nullptr ? RJQ::WorkerCount(queue) : 1;
  const std::int32_t limit = Settings().workerLimit;
  if (limit != 0 && limit <= count) count = limit;
  return count < 1 ? 1 : count;
}

}  // namespace tlr2
