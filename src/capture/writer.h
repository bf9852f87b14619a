// The capture writer's state: the range, the open file, the latest finished capture.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>

namespace tlr2 {

struct FinishedCapture {
  char path[128];
  std::uint64_t sizeBytes;
  std::uint32_t frameCount;
};

/// Selects frames `first` to `last`; ignored for first < 0 or last < first. Called only while no range is active.
void SetCaptureRange(std::int32_t first, std::int32_t last, const char* source, bool quitWhenDone) noexcept;
void SetCaptureReferencePixels(bool wanted) noexcept;
/// Writes the frame count and closes. A failed seek leaves the count out.
void CloseCaptureFile(std::FILE* file, std::uint32_t frameCount) noexcept;
/// When `frame` lies past the range: closes, notes the finished capture, clears the range. True if the process is to
/// quit.
bool FinishCaptureRange(std::int32_t frame) noexcept;
/// At process end: closes an open capture with its count.
void AbandonCapture() noexcept;
const FinishedCapture& LatestFinishedCapture() noexcept;

/// Set by whoever wants a capture or a trace of the coming frames; taken by the next frame tick.
extern std::atomic<std::int32_t> captureRequested;
extern std::atomic<std::int32_t> traceRequested;

}  // namespace tlr2
