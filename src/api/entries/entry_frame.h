// The entry frame: what every exported function does before its own work. Count, trace, and the question whether the
// call enters the command stream. For each row of the entry table there is one function enter::glName(arguments).
#pragma once

#include <cstring>
#include <new>

#include "api/accounting.h"
#include "api/state/command_stream.h"
#include "api/table/commands.h"
#include "api/table/entry.h"
#include "api/table/prototypes.h"
#include "capture/trace.h"
#include "platform/thread_block.h"
#include "settings/settings.h"

#define TLR2_ALWAYS_INLINE [[gnu::always_inline]] inline

namespace tlr2 {

/// The first two steps for `entry`; returns the calling thread's block.
TLR2_ALWAYS_INLINE ThreadGuard& CountCall(Entry entry) noexcept {
  ThreadGuard& guard = CurrentThreadGuard();
  if (!guard.suppress) [[likely]]
    CounterAdd(CallCounters[static_cast<int>(entry)], 1);
  return guard;
}

/// Whether the call gets a trace line: one compare while no trace is active.
TLR2_ALWAYS_INLINE bool Traced(const ThreadGuard& guard) noexcept { return TraceActive() && !guard.suppress; }

/// Whether the call enters the command stream. Asked afresh by each call.
TLR2_ALWAYS_INLINE bool Records(const ThreadGuard& guard) noexcept { return !guard.suppress && RecordingEnabled(); }

/// Appends a record to the live stream, made in its place: fields that go through a copy on the stack would be stored
/// in words and read back as a vector, which the processor cannot forward.
template <typename Record>
TLR2_ALWAYS_INLINE void AppendRecord(const Record& record) {
  new (CommandStreamInstance().bytes.GrowUninitialized(sizeof(Record))) Record(record);
}

/// Whether a call does nothing but count, record and change the state, as in all but a few frames. `guard` null: the
/// thread's block is not at hand, so the call is none.
TLR2_ALWAYS_INLINE bool Plain(const ThreadGuard* guard) noexcept {
  return guard != nullptr && !guard->suppress && traceFirstFrame.load(std::memory_order_relaxed) < 0 &&
         detail::settingsLoaded.load(std::memory_order_acquire) != 0 && detail::driverSettings.pipelineCutoff != 0;
}

namespace enter {

#define TLR2_GL(name, bytes, returns, body, ...)                                                    \
  TLR2_ALWAYS_INLINE ThreadGuard& gl##name(TLR2_PARAMETERS(__VA_ARGS__)) noexcept {                 \
    ThreadGuard& guard_ = CountCall(Entry::gl##name);                                               \
    if (Traced(guard_)) [[unlikely]]                                                                \
      TraceCall("TLR2::GL::" #name, TLR2_TRACE_FORMAT(__VA_ARGS__) TLR2_TRACE_VALUES(__VA_ARGS__)); \
    return guard_;                                                                                  \
  }
#define TLR2_WGL(name, bytes, returns, body, ...)                                                    \
  TLR2_ALWAYS_INLINE ThreadGuard& wgl##name(TLR2_PARAMETERS(__VA_ARGS__)) noexcept {                 \
    ThreadGuard& guard_ = CountCall(Entry::wgl##name);                                               \
    if (Traced(guard_)) [[unlikely]]                                                                 \
      TraceCall("TLR2::WGL::" #name, TLR2_TRACE_FORMAT(__VA_ARGS__) TLR2_TRACE_VALUES(__VA_ARGS__)); \
    return guard_;                                                                                   \
  }
#include "api/table/entries.def"

}  // namespace enter
}  // namespace tlr2
