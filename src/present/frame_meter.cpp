// The frame-rate overlay's measures.
#include "present/frame_meter.h"

#include <algorithm>
#include <cmath>
#include <cwchar>

namespace tlr2 {

bool StartFrameMeter(FrameMeter& meter, std::int64_t frequency, std::int64_t now) noexcept {
  if (meter.tickFrequency != 0) return false;
  meter.tickFrequency = frequency;
  meter.lastUpdateTicks = now;
  return true;
}

bool CountShownFrame(FrameMeter& meter, std::int64_t now) noexcept {
  constexpr double kInterval = 1.0;  // seconds
  ++meter.framesSinceUpdate;
  if (meter.tickFrequency <= 0 || meter.lastUpdateTicks <= 0) return false;
  const double elapsed = static_cast<double>(now - meter.lastUpdateTicks) / static_cast<double>(meter.tickFrequency);
  if (elapsed < kInterval) return false;
  meter.shownFps = static_cast<std::int32_t>(std::floor(meter.framesSinceUpdate / elapsed + 0.5));
  meter.framesSinceUpdate = 0;
  meter.lastUpdateTicks = now;
  return true;
}

std::uint32_t FormatOverlayText(std::int32_t width, std::int32_t height, const FrameMeter& meter,
                                wchar_t (&text)[kOverlayTextLength]) noexcept {
  const int length = std::swprintf(text, kOverlayTextLength, L"%d x %d\nFPS %d\nCPU %d%%", width, height,
                                   meter.shownFps, meter.shownCpu);
  return length > 0 ? static_cast<std::uint32_t>(length) : 0;
}

std::int32_t LoadPercent(const SystemTimes* before, const SystemTimes* after, std::uint32_t groupCount,
                         std::int32_t kept) noexcept {
  std::uint64_t total = 0, idle = 0;
  for (std::uint32_t i = 0; i < groupCount; ++i) {
    total += (after[i].kernel - before[i].kernel) + (after[i].user - before[i].user);  // idle time counts as kernel's
    idle += after[i].idle - before[i].idle;
  }
  if (total == 0) return kept;
  const double busy = static_cast<double>(static_cast<std::int64_t>(total - idle));
  const double percent = std::floor(busy * 100.0 / static_cast<double>(total) + 0.5);
  return static_cast<std::int32_t>(std::clamp(percent, 0.0, 100.0));
}

}  // namespace tlr2
