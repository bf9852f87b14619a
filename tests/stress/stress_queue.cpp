// Runs jobs through a private queue and checks each of them.
//   stress_queue --jobs N --workers W --mix constant|mixed
// constant: every job has 8 tasks and is waited for, as a frame's job is. mixed: 1 to 67 tasks of uneven length, up to
// three laps of the ring enqueued between two waits, a barrier now and then.
// Exit code 0: every task ran exactly once, none before the tasks ahead of its last barrier had ended, and WaitIdle
// never returned before them. A lost job is a hang.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/clock.h"
#include "tiles/queue/ring.h"

namespace {

constexpr std::int32_t kCapacity = 64;
constexpr std::int32_t kMostJobsInFlight = kCapacity * 3;
constexpr std::int32_t kMostTasks = 67;

struct Job {
  std::int32_t taskCount = 0;
  std::uint32_t work = 0;
  std::int32_t tasksAhead = 0;                 // of the last barrier before this job, since the last wait
  std::atomic<std::int32_t>* ended = nullptr;  // tasks that ended since then; null: nobody asks
  std::atomic<std::int32_t> early{0};          // tasks that ran before the barrier let them
  std::atomic<std::int32_t> runs[kMostTasks] = {};
  std::uint32_t plain[kMostTasks] = {};  // written by the task, read after WaitIdle: its effects must be visible
  bool rangeSeen[kMostTasks] = {};
};

void RunTask(const RJQ::JobRange* range, std::int32_t task, void* context) {
  Job& job = *static_cast<Job*>(context);
  // Relaxed: what orders the two is the queue's to provide.
  if (job.ended != nullptr && job.ended->load(std::memory_order_relaxed) < job.tasksAhead) job.early.fetch_add(1);
  if (task < 0 || task >= kMostTasks) {
    std::fprintf(stderr, "task index %d\n", task);
    std::abort();
  }
  std::uint32_t value = static_cast<std::uint32_t>(task) + 1;
  for (std::uint32_t i = 0; i < job.work * static_cast<std::uint32_t>(task & 3); ++i) value = value * 1664525u + 1u;
  job.plain[task] = value | 1u;
  job.rangeSeen[task] = range->taskCount == job.taskCount && range->user[0] == job.work;
  job.runs[task].fetch_add(1, std::memory_order_relaxed);
  if (job.ended != nullptr) job.ended->fetch_add(1, std::memory_order_relaxed);
}

bool CheckAndClear(Job& job, std::uint64_t number) {
  for (std::int32_t i = 0; i < kMostTasks; ++i) {
    const std::int32_t expected = i < job.taskCount ? 1 : 0;
    const std::int32_t runs = job.runs[i].load(std::memory_order_relaxed);
    if (runs != expected || (job.plain[i] != 0) != (expected != 0) || job.rangeSeen[i] != (expected != 0)) {
      std::fprintf(stderr, "near job %llu: task %d of %d ran %d times\n", static_cast<unsigned long long>(number), i,
                   job.taskCount, runs);
      return false;
    }
    job.runs[i].store(0, std::memory_order_relaxed);
    job.plain[i] = 0;
    job.rangeSeen[i] = false;
  }
  if (const std::int32_t early = job.early.load(std::memory_order_relaxed); early != 0) {
    std::fprintf(stderr, "near job %llu: %d tasks ran before the %d ahead of their barrier\n",
                 static_cast<unsigned long long>(number), early, job.tasksAhead);
    return false;
  }
  return true;
}

struct Options {
  std::uint64_t jobs = 1000000;
  std::int32_t workers = 3;
  bool mixed = false;
};

bool ParseOptions(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; i += 2) {
    if (i + 1 == argc) return false;
    const char* const value = argv[i + 1];
    if (std::strcmp(argv[i], "--jobs") == 0)
      options.jobs = std::strtoull(value, nullptr, 10);
    else if (std::strcmp(argv[i], "--workers") == 0)
      options.workers = static_cast<std::int32_t>(std::strtol(value, nullptr, 10));
    else if (std::strcmp(argv[i], "--mix") == 0 &&
             (std::strcmp(value, "constant") == 0 || std::strcmp(value, "mixed") == 0))
      options.mixed = std::strcmp(value, "mixed") == 0;
    else
      return false;
  }
  return options.jobs > 0 && options.workers > 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!ParseOptions(argc, argv, options)) {
    std::fputs("stress_queue --jobs N --workers W --mix constant|mixed\n", stderr);
    return 2;
  }
  const std::vector<tlr2::ProcessorSlot> processors(static_cast<std::size_t>(options.workers));
  RJQ::QueueOptions start;
  start.capacity = kCapacity;
  start.processors = &processors;
  start.firstTicket = 0x7FFFFFFF - 10000;  // tickets wrap around on the way
  RJQ::RenderJobQueue* const queue = RJQ::StartQueue(start);
  if (queue == nullptr) {
    std::fputs("no queue\n", stderr);
    return 1;
  }

  std::vector<Job> jobs(kMostJobsInFlight);
  std::uint32_t random = 12345;
  const auto next = [&random](std::uint32_t bound) {
    random = random * 1664525u + 1013904223u;
    return (random >> 8) % bound;
  };
  std::uint64_t tasks = 0;
  std::atomic<std::int32_t> ended{0};
  const std::int64_t begin = tlr2::TicksNow();
  for (std::uint64_t done = 0; done < options.jobs;) {
    std::uint32_t batch = 1;
    if (options.mixed && next(4) == 0) batch = 1 + next(kMostJobsInFlight);
    if (batch > options.jobs - done) batch = static_cast<std::uint32_t>(options.jobs - done);
    std::int32_t enqueued = 0, tasksAhead = 0;
    ended.store(0, std::memory_order_relaxed);
    for (std::uint32_t i = 0; i < batch; ++i) {
      Job& job = jobs[i];
      job.taskCount = options.mixed ? 1 + static_cast<std::int32_t>(next(kMostTasks)) : 8;
      job.work = options.mixed && next(16) == 0 ? 100 : 1;
      tasks += static_cast<std::uint64_t>(job.taskCount);
      if (options.mixed && next(50) == 0) {
        RJQ::Enqueue(*queue, RJQ::kBarrierJob, RJQ::JobRange{}, nullptr, nullptr);
        tasksAhead = enqueued;
      }
      job.tasksAhead = tasksAhead;
      job.ended = options.mixed ? &ended : nullptr;
      enqueued += job.taskCount;
      RJQ::Enqueue(*queue, RJQ::kTaskJob, RJQ::JobRange{{job.work, 0, 0, 0}, job.taskCount}, RunTask, &job);
    }
    RJQ::WaitIdle(*queue);
    done += batch;
    for (std::uint32_t i = 0; i < batch; ++i)
      if (!CheckAndClear(jobs[i], done)) return 1;
  }
  const double seconds = static_cast<double>(tlr2::TicksNow() - begin) / static_cast<double>(tlr2::TicksPerSecond());
  std::printf("%llu jobs, %llu tasks, %d workers, %s: %.1f s, %.2f us a job\n",
              static_cast<unsigned long long>(options.jobs), static_cast<unsigned long long>(tasks), options.workers,
              options.mixed ? "mixed" : "constant", seconds, seconds * 1e6 / static_cast<double>(options.jobs));
  RJQ::StopQueue(queue);
  return 0;
}
