// What the frame-rate overlay says: frames counted over a second, the processors' load, and the text of both.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/system_times.h"

namespace tlr2 {

struct FrameMeter {
  std::int32_t shownFps = 0;  // 0 before the first measure: no text then
  std::int32_t shownCpu = 0;  // percent
  std::int32_t framesSinceUpdate = 0;
  std::int64_t lastUpdateTicks = 0;
  std::int64_t tickFrequency = 0;  // 0: not started
};

/// Starts the meter once; true when it did.
bool StartFrameMeter(FrameMeter& meter, std::int64_t frequency, std::int64_t now) noexcept;
/// Counts a frame that is shown at `now`. True when this completed a measure of a second or more; the load is sampled
/// then, and never in another frame.
bool CountShownFrame(FrameMeter& meter, std::int64_t now) noexcept;

inline constexpr std::size_t kOverlayTextLength = 64;
/// "640 x 480\nFPS 60\nCPU 12%". The number of characters, without the zero.
std::uint32_t FormatOverlayText(std::int32_t width, std::int32_t height, const FrameMeter& meter,
                                wchar_t (&text)[kOverlayTextLength]) noexcept;

/// What all groups' processors did between two readings, in percent of their time; `kept` when no time has passed.
std::int32_t LoadPercent(const SystemTimes* before, const SystemTimes* after, std::uint32_t groupCount,
                         std::int32_t kept) noexcept;

}  // namespace tlr2
