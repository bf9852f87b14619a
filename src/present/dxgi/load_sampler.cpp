// The load sampler's threads. The thread that shows frames starts a reading and waits for all of them.
#include "present/dxgi/load_sampler.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <new>

#include "platform/thread.h"
#include "platform/topology.h"
#include "present/frame_meter.h"

namespace tlr2 {

namespace {

constexpr std::uint16_t kMostGroups = 64;
static_assert(kMostGroups <= MAXIMUM_WAIT_OBJECTS);
constexpr DWORD kSampleTimeoutMs = 100;
constexpr DWORD kStopTimeoutMs = 250;

/// What a group's thread writes. A thread that comes late for one reading may write while the next one is read.
struct GroupTimes {
  std::atomic<std::uint64_t> idle{0}, kernel{0}, user{0};
};

struct GroupThread {
  LoadSampler* sampler;
  std::uint16_t group;
};

}  // namespace

struct LoadSampler {
  ReadTimes read = ReadSystemTimes;
  HANDLE stop = nullptr;           // manual-reset, shared
  HANDLE start[kMostGroups] = {};  // auto-reset
  HANDLE done[kMostGroups] = {};   // manual-reset
  ThreadHandle thread[kMostGroups] = {};
  GroupThread argument[kMostGroups] = {};
  GroupTimes written[kMostGroups];
  SystemTimes baseline[kMostGroups] = {};
  std::uint16_t groupCount = 0;
  bool baselineValid = false;
};

namespace {

void GroupMain(void* pointer) {
  const GroupThread& self = *static_cast<GroupThread*>(pointer);
  LoadSampler& sampler = *self.sampler;
  ThreadPinCurrent(self.group, 1);
  const HANDLE wanted[] = {sampler.stop, sampler.start[self.group]};
  while (WaitForMultipleObjects(2, wanted, FALSE, INFINITE) == WAIT_OBJECT_0 + 1) {
    SystemTimes times;
    if (!sampler.read(times)) continue;  // the caller waits in vain and keeps its last value
    GroupTimes& written = sampler.written[self.group];
    written.idle.store(times.idle, std::memory_order_relaxed);
    written.kernel.store(times.kernel, std::memory_order_relaxed);
    written.user.store(times.user, std::memory_order_relaxed);
    SetEvent(sampler.done[self.group]);
  }
}

bool StartGroup(LoadSampler& sampler, std::uint16_t group) noexcept {
  sampler.start[group] = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  sampler.done[group] = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  sampler.argument[group] = {&sampler, group};
  return sampler.start[group] != nullptr && sampler.done[group] != nullptr &&
         ThreadStart(sampler.thread[group], GroupMain, &sampler.argument[group]);
}

void CloseEvent(HANDLE event) noexcept {
  if (event != nullptr) CloseHandle(event);
}

}  // namespace

LoadSampler* StartLoadSampler(ReadTimes read) noexcept {
  auto* sampler = new (std::nothrow) LoadSampler;
  if (sampler == nullptr) return nullptr;
  sampler->read = read;
  sampler->stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  const std::uint16_t groups = std::min(ActiveGroupCount(), kMostGroups);
  bool started = sampler->stop != nullptr && groups > 0;
  while (started && sampler->groupCount < groups) started = StartGroup(*sampler, sampler->groupCount++);
  if (started) return sampler;
  StopLoadSampler(sampler);
  return nullptr;
}

std::int32_t SampleLoad(LoadSampler* sampler, std::int32_t kept) noexcept {
  if (sampler == nullptr) return kept;
  for (std::uint16_t i = 0; i < sampler->groupCount; ++i) ResetEvent(sampler->done[i]);
  for (std::uint16_t i = 0; i < sampler->groupCount; ++i) SetEvent(sampler->start[i]);
  const DWORD waited = WaitForMultipleObjects(sampler->groupCount, sampler->done, TRUE, kSampleTimeoutMs);
  if (waited >= WAIT_OBJECT_0 + sampler->groupCount) return kept;
  SystemTimes now[kMostGroups];
  for (std::uint16_t i = 0; i < sampler->groupCount; ++i) {
    const GroupTimes& written = sampler->written[i];
    now[i] = {written.idle.load(std::memory_order_relaxed), written.kernel.load(std::memory_order_relaxed),
              written.user.load(std::memory_order_relaxed)};
  }
  const std::int32_t percent =
      sampler->baselineValid ? LoadPercent(sampler->baseline, now, sampler->groupCount, kept) : kept;
  std::copy_n(now, sampler->groupCount, sampler->baseline);
  sampler->baselineValid = true;
  return percent;
}

void StopLoadSampler(LoadSampler* sampler) noexcept {
  if (sampler == nullptr) return;
  if (sampler->stop != nullptr) SetEvent(sampler->stop);
  bool ended = true;
  for (std::uint16_t i = 0; i < sampler->groupCount; ++i)
    ended = ThreadWait(sampler->thread[i], kStopTimeoutMs) && ended;
  if (!ended) return;  // a thread that could not end in time still uses the record: it stays
  for (std::uint16_t i = 0; i < sampler->groupCount; ++i) {
    ThreadClose(sampler->thread[i]);
    CloseEvent(sampler->start[i]);
    CloseEvent(sampler->done[i]);
  }
  CloseEvent(sampler->stop);
  delete sampler;
}

}  // namespace tlr2
