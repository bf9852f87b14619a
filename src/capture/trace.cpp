// The trace of calls: a line a call, collected in memory and written in blocks.
#include "capture/trace.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "api/accounting.h"
#include "base/growing_vector.h"
#include "capture/trace_file.h"
#include "platform/sync.h"
#include "settings/status.h"

namespace tlr2 {
namespace {

constexpr std::size_t kFileBufferBytes = 4194304;
constexpr std::size_t kLineReserve = 524288;
constexpr std::size_t kFlushBytes = 262144;
constexpr std::size_t kArgumentBytes = 512;
constexpr std::size_t kLineBytes = 768;

struct Trace {
  CriticalSection lock;
  std::atomic<std::FILE*> file{nullptr};
  GrowingVector<char> lines;
  Counter64 sequence{0};
  bool quitWhenDone = false;
};

// Never destroyed: a call after the driver's end may still ask whether a trace is open.
Trace& TraceInstance() noexcept {
  // Out of memory here ends the process, as everywhere in the driver.
  static auto* trace = new Trace;  // NOLINT(bugprone-unhandled-exception-at-new)
  return *trace;
}
char fileBuffer[kFileBufferBytes];

std::uint64_t NextSequence(Counter64& counter) noexcept {
  std::uint64_t seen = counter.load(std::memory_order_relaxed);
  while (!counter.compare_exchange_weak(seen, seen + 1, std::memory_order_relaxed)) {
  }
  return seen + 1;
}

void WritePending(Trace& trace, std::FILE* file) noexcept {
  if (!trace.lines.empty()) std::fwrite(trace.lines.data(), 1, trace.lines.size(), file);
  trace.lines.clear();
}

}  // namespace

void TraceCall(const char* name, const char* format, ...) noexcept {
  if (!TraceActive()) return;
  Trace& trace = TraceInstance();
  if (trace.file.load(std::memory_order_acquire) == nullptr) return;
  char arguments[kArgumentBytes] = "";  // zero: a failed conversion leaves what it has written
  va_list list;
  va_start(list, format);
  std::vsnprintf(arguments, sizeof arguments, format, list);
  arguments[sizeof arguments - 1] = '\0';
  va_end(list);
  const std::uint64_t sequence = NextSequence(trace.sequence);
  char line[kLineBytes];
  int length =
      std::snprintf(line, sizeof line, "[frame=%d][seq=%6llu] %-36s %s\n", currentFrame.load(std::memory_order_relaxed),
                    static_cast<unsigned long long>(sequence), name, arguments);
  if (length < 0) return;
  if (static_cast<std::size_t>(length) >= sizeof line) length = static_cast<int>(sizeof line) - 1;
  const LockHolder hold(trace.lock);
  std::FILE* file = trace.file.load(std::memory_order_relaxed);
  if (file == nullptr) return;
  trace.lines.append(line, static_cast<std::size_t>(length));
  if (trace.lines.size() >= kFlushBytes) WritePending(trace, file);
}

void OpenTrace(std::int32_t first, std::int32_t last, const char* source, bool quitWhenDone) noexcept {
  if (first < 0 || last < first) return;
  char name[128];
  if (first == last) {
    std::snprintf(name, sizeof name, "TLR2_trace_frame%d.tlr2-trace", first);
  } else {
    std::snprintf(name, sizeof name, "TLR2_trace_frames%d-%d.tlr2-trace", first, last);
  }
  std::FILE* file = std::fopen(name, "wb");
  if (file == nullptr) return;
  std::setvbuf(file, fileBuffer, _IOFBF, sizeof fileBuffer);
  std::fprintf(file, "=== TLR2 trace (%s, frames %d..%d inclusive) ===\n", source, first, last);
  if (isaStatusLine[0] != '\0') std::fprintf(file, "%s\n", isaStatusLine);
  Trace& trace = TraceInstance();
  {
    const LockHolder hold(trace.lock);
    trace.lines.clear();
    trace.lines.reserve(kLineReserve);
    trace.quitWhenDone = quitWhenDone;
    trace.file.store(file, std::memory_order_release);
  }
  traceLastFrame.store(last, std::memory_order_relaxed);
  traceFirstFrame.store(first, std::memory_order_relaxed);
}

bool TraceOpen() noexcept { return TraceInstance().file.load(std::memory_order_acquire) != nullptr; }

void EndTrace() noexcept {
  Trace& trace = TraceInstance();
  const LockHolder hold(trace.lock);
  std::FILE* file = trace.file.load(std::memory_order_relaxed);
  if (file == nullptr) return;
  WritePending(trace, file);
  std::fputs("=== end of trace ===\n", file);
  std::fclose(file);
  trace.file.store(nullptr, std::memory_order_release);
}

bool TakeTraceQuit() noexcept {
  Trace& trace = TraceInstance();
  const bool quit = trace.quitWhenDone;
  trace.quitWhenDone = false;
  return quit;
}

void TraceCrashMarker() noexcept {
  Trace& trace = TraceInstance();
  if (trace.file.load(std::memory_order_acquire) == nullptr) return;
  const LockHolder hold(trace.lock);
  std::FILE* file = trace.file.load(std::memory_order_relaxed);
  if (file == nullptr) return;
  WritePending(trace, file);
  std::fputs("\n=== CRASH (vectored handler triggered) ===\n", file);
  std::fflush(file);
}

}  // namespace tlr2
