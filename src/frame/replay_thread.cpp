// The long-lived thread that replays frames while the caller waits. It gives the replay a stack of its own; the two
// never run at the same time, so the driver state needs no lock.
#include "frame/replay.h"
#include "platform/clock.h"
#include "platform/float_rules.h"
#include "platform/sync.h"
#include "platform/thread.h"

namespace tlr2 {
namespace {

constexpr std::uint32_t kStopTimeoutMs = 250;  // at library unload a thread may be unable to end
constexpr std::uint64_t kSourceThread = 1, kSourceInline = 2;

struct ReplayTimes {
  std::int64_t requested = 0, started = 0, finished = 0;
};

/// One request at a time, guarded by `lock`.
struct ReplaySlot {
  CriticalSection lock;
  Event request;  // taken by the thread
  Event done;     // stays until the next request
  ThreadHandle thread;
  bool threadStarted = false;
  bool stop = false;
  bool pending = false;
  FrameJob* job = nullptr;
  bool allowParallel = false;
  bool result = false;
  ReplayTimes times;
};

ReplaySlot slot;

/// The replay zeroes the statistics at its start, so the times are noted after it.
void NoteTimes(const ReplayTimes& times, std::uint64_t source) noexcept {
  FrameBuildStats& stats = DriverStateInstance().buildStats;
  stats.replayWaitTicks = static_cast<std::uint64_t>(times.started - times.requested);
  stats.replaySource = source;
}

bool ReplayInline(CommandStream& stream, const Keyframe* keyframe, bool allowParallel) {
  ReplayTimes times;
  times.requested = times.started = TicksNow();
  const bool result = ReplayFrame(stream, keyframe, allowParallel);
  times.finished = TicksNow();
  NoteTimes(times, kSourceInline);
  return result;
}

/// Not allowed to throw: a vector's failure inside the replay ends the process here, as it does on any other thread.
void ReplayThreadMain(void*) noexcept {
  const FloatRules rules;
  EventTake(slot.request);
  Lock(slot.lock);
  while (!slot.stop) {
    FrameJob* job = slot.pending ? slot.job : nullptr;
    const bool allowParallel = job == nullptr || slot.allowParallel;
    slot.pending = false;
    slot.job = nullptr;
    Unlock(slot.lock);

    ReplayTimes times;
    times.started = TicksNow();
    bool result;
    if (job != nullptr) {
      result = ReplayFrame(job->stream, &job->keyframe, allowParallel);
    } else {
      CommandStream nothing;
      result = ReplayFrame(nothing, nullptr, allowParallel);
    }
    times.finished = TicksNow();

    Lock(slot.lock);
    slot.result = result;
    slot.times.started = times.started;
    slot.times.finished = times.finished;
    Unlock(slot.lock);
    EventSet(slot.done);
    EventTake(slot.request);
    Lock(slot.lock);
  }
  Unlock(slot.lock);
}

}  // namespace

bool StartReplayThread() noexcept {
  if (slot.threadStarted) return true;
  EventReset(slot.request);
  slot.threadStarted = ThreadStart(slot.thread, ReplayThreadMain, nullptr);
  return slot.threadStarted;
}

void StopReplayThread() noexcept {
  if (!slot.threadStarted) return;
  Lock(slot.lock);
  slot.stop = true;
  Unlock(slot.lock);
  EventSet(slot.request);
  if (!ThreadWait(slot.thread, kStopTimeoutMs)) ThreadTerminate(slot.thread);
  ThreadClose(slot.thread);
  slot.thread = {};
  slot.threadStarted = false;
  slot.stop = false;
  slot.pending = false;
}

bool RunFrameBuild(FrameJob& job, bool allowParallel) {
  if (!StartReplayThread()) return ReplayInline(job.stream, &job.keyframe, allowParallel);

  EventReset(slot.done);
  Lock(slot.lock);
  slot.job = &job;
  slot.allowParallel = allowParallel;
  slot.times = {};
  slot.times.requested = TicksNow();
  slot.pending = true;
  Unlock(slot.lock);
  EventSet(slot.request);
  EventWait(slot.done);

  Lock(slot.lock);
  const bool result = slot.result;
  const ReplayTimes times = slot.times;
  Unlock(slot.lock);
  NoteTimes(times, kSourceThread);
  return result;
}

bool RunFrameBuildInline(bool allowParallel) {
  Keyframe keyframe;
  BuildKeyframe(keyframe);
  return ReplayInline(CommandStreamInstance(), &keyframe, allowParallel);
}

}  // namespace tlr2
