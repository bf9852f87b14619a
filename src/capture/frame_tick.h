// The per-frame control step and the end of the process: ranges of trace and capture, the call summary.
#pragma once

#include "api/state/keyframe.h"
#include "frame/replay.h"

namespace tlr2 {

/// Once a process, at library load: crash handling, then the environment's trace and capture ranges.
void DiagnosticsStart() noexcept;
/// At process detach: call summary, end of trace, closing of an open capture.
void ProcessEndDiagnostics() noexcept;
/// After the frame number went up.
void FrameTick();
/// Rewrites the call summary.
void WriteCallSummary() noexcept;

/// Opens the capture file on the first frame of the range. False when it could not be opened or begun.
bool BeginCaptureIfDue(const DriverState& clone, const StateSnapshot& snapshot, std::int32_t width,
                       std::int32_t height);
/// Appends a frame; `pixels` may be null. False when the file does not hold it: none is open, or this frame or one
/// before it could not be written in full. Such a file takes no more frames and stays open until its range ends.
bool WriteCaptureFrame(const FrameJob& job, const std::uint8_t* pixels, std::uint64_t pixelBytes);
bool CaptureReferencePixels() noexcept;

}  // namespace tlr2
