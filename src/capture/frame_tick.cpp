// The control step after each frame, and both ends of the process: which frames are captured and traced.
#include "capture/frame_tick.h"

#include <cstdlib>
#include <cstring>

#include "api/accounting.h"
#include "capture/frame_range.h"
#include "capture/trace_file.h"
#include "capture/writer.h"
#include "platform/crash.h"
#include "platform/environment.h"
#include "platform/hotkey.h"
#include "platform/process.h"
#include "settings/settings.h"

namespace tlr2 {
namespace {

constexpr std::int32_t kMostCapturedFrames = 1000;
constexpr std::int32_t kMostTracedFrames = 60;
constexpr std::uint32_t kRangeTextBytes = 32;
constexpr std::uint32_t kReferenceTextBytes = 32768;  // only the first character counts, of however long a text

bool hotkeyWasDown = false;

void OnCrash() {
  WriteCallSummary();
  TraceCrashMarker();
}

std::int32_t LeadingInteger(const char* text) noexcept {
  const long long value = std::strtoll(text, nullptr, 10);
  if (value > INT32_MAX) return INT32_MAX;
  if (value < INT32_MIN) return INT32_MIN;
  return static_cast<std::int32_t>(value);
}

std::int32_t Clamped(std::int32_t value, std::int32_t most) noexcept {
  if (value < 1) return 1;
  return value < most ? value : most;
}

// The last frame of `count` frames from `first`, held within the counter.
std::int32_t LastOf(std::int32_t first, std::int32_t count) noexcept {
  return first > INT32_MAX - (count - 1) ? INT32_MAX : first + (count - 1);
}

}  // namespace

bool ParseFrameRange(const char* text, std::int32_t& first, std::int32_t& last) noexcept {
  first = LeadingInteger(text);
  const char* minus = std::strchr(text, '-');
  last = minus != nullptr ? LeadingInteger(minus + 1) : first;
  return first >= 0 && last >= first;
}

void DiagnosticsStart() noexcept {
  static bool done = false;  // the library start runs once; a second call must not install a second observer
  if (done) return;
  done = true;
  InstallCrashObserver(OnCrash);
  char text[kRangeTextBytes];
  std::int32_t first = 0;
  std::int32_t last = 0;
  if (ReadEnvironment("TLR2_CAPTURE_FRAMES", text, sizeof text) != 0 && ParseFrameRange(text, first, last)) {
    SetCaptureRange(first, last, "env", true);
  }
  if (ReadEnvironment("TLR2_TRACE_FRAMES", text, sizeof text) != 0 && ParseFrameRange(text, first, last)) {
    OpenTrace(first, last, "env", true);
  }
  static char wanted[kReferenceTextBytes];
  if (ReadEnvironment("TLR2_CAPTURE_REFERENCE_PIXELS", wanted, sizeof wanted) != 0) {
    SetCaptureReferencePixels(std::strchr("0nNfF", wanted[0]) == nullptr);
  }
}

void ProcessEndDiagnostics() noexcept {
  WriteCallSummary();
  if (TraceOpen()) EndTrace();
  AbandonCapture();
}

void FrameTick() {
  const std::int32_t frame = currentFrame.load(std::memory_order_relaxed);
  const bool hotkeyDown = CaptureHotkeyDown();
  if (FinishCaptureRange(frame)) PostProcessQuit();
  if (TraceOpen() && traceFirstFrame.load(std::memory_order_relaxed) >= 0 &&
      frame > traceLastFrame.load(std::memory_order_relaxed)) {
    EndTrace();
    traceFirstFrame.store(-1, std::memory_order_relaxed);
    traceLastFrame.store(-1, std::memory_order_relaxed);
    if (TakeTraceQuit()) PostProcessQuit();
  }
  const bool panelCapture = captureRequested.exchange(0, std::memory_order_relaxed) != 0;
  const bool panelTrace = traceRequested.exchange(0, std::memory_order_relaxed) != 0;
  const std::int32_t wanted = Settings().captureFrameCount;
  const std::int32_t next = frame < INT32_MAX ? frame + 1 : frame;
  if (((hotkeyDown && !hotkeyWasDown) || panelCapture) && captureFirstFrame.load(std::memory_order_relaxed) < 0) {
    SetCaptureRange(next, LastOf(next, Clamped(wanted, kMostCapturedFrames)), "hotkey/UI", false);
  }
  if (panelTrace && traceFirstFrame.load(std::memory_order_relaxed) < 0) {
    OpenTrace(next, LastOf(next, Clamped(wanted, kMostTracedFrames)), "UI", false);
  }
  hotkeyWasDown = hotkeyDown;
}

}  // namespace tlr2
