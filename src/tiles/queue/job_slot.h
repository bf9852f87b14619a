// A slot of the job ring, and the word by which its tasks are claimed.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "tiles/queue/render_job_queue.h"

namespace RJQ {

// The claim word: the ticket of the slot's job in the upper half, what is left of it in the lower. A worker may be
// preempted between reading a slot and claiming from it, while the job ends and the slot is filled anew; its claim
// then fails, because ticket and remainder are exchanged together. Counting down means that a claim needs no second
// word: the task count is read only after a claim has made sure that it cannot change.
inline constexpr std::uint32_t kPendingMark = 0x80000000u;  // not a number of tasks
inline constexpr std::uint32_t kPendingBarrier = kPendingMark;
inline constexpr std::uint32_t kPendingShutdown = kPendingMark | 1u;

constexpr std::uint64_t MakeClaim(std::uint32_t ticket, std::uint32_t left) noexcept {
  return static_cast<std::uint64_t>(ticket) << 32 | left;
}
constexpr std::uint32_t TicketOf(std::uint64_t claim) noexcept { return static_cast<std::uint32_t>(claim >> 32); }
constexpr std::uint32_t LeftOf(std::uint64_t claim) noexcept { return static_cast<std::uint32_t>(claim); }

/// Three cache lines: what everybody reads, what claiming hammers, what retires the job.
struct alignas(64) JobSlot {
  // Plain: written by the producer before `nextTask` is published, read by workers that hold a task of the job.
  std::uint32_t type = 0;
  JobRange range{};
  JobFn fn = nullptr;
  void* context = nullptr;

  alignas(64) std::atomic<std::uint64_t> nextTask{0};  // the claim word
  std::atomic<std::int32_t> doneTasks{0};

  alignas(64) std::atomic<std::uint8_t> completed{0};
  std::atomic<std::int64_t> ticket{0};  // sign-extended
};
static_assert(sizeof(JobSlot) == 192 && alignof(JobSlot) == 64);
static_assert(offsetof(JobSlot, nextTask) == 64 && offsetof(JobSlot, completed) == 128);

}  // namespace RJQ
