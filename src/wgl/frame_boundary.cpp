// The frame boundary. The order of the steps is a contract: the picture, the captures and the next frame's start all
// depend on it.
#include "wgl/frame_boundary.h"

#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "api/accounting.h"
#include "api/state/command_stream.h"
#include "api/state/driver_state.h"
#include "api/state/keyframe.h"
#include "api/table/commands.h"
#include "capture/frame_tick.h"
#include "frame/replay.h"
#include "platform/float_rules.h"
#include "platform/thread_block.h"
#include "settings/settings.h"
#include "tiles/grid/grid.h"
#include "tiles/render_frame.h"
#include "wgl/context.h"

namespace tlr2 {
namespace {

constexpr std::int32_t kLastCutoffBeforeRender = 2;
constexpr std::int32_t kCutoffBinOnly = 4;
constexpr std::int32_t kSummaryInterval = 60;

/// Whether the frame that is ending is one to capture.
bool Capturing() noexcept {
  const std::int32_t first = captureFirstFrame.load(std::memory_order_relaxed);
  const std::int32_t frame = currentFrame.load(std::memory_order_relaxed);
  return first >= 0 && first <= frame && frame <= captureLastFrame.load(std::memory_order_relaxed);
}

bool Recording() noexcept { return !CurrentThreadGuard().suppress && RecordingEnabled(); }

void SwapStreams(CommandStream& a, CommandStream& b) noexcept {
  a.bytes.Swap(b.bytes);
  a.blob.Swap(b.blob);
  a.images.swap(b.images);
  std::swap(a.baseSequence, b.baseSequence);
}

void EmptyStream(CommandStream& stream) noexcept {
  stream.bytes.clear();
  stream.blob.clear();
  stream.images.clear();
}

void StartCapturedFrame(const Surface& surface) {
  DriverState clone;
  StateSnapshot snapshot = {};
  CaptureBaseline(clone, snapshot);
  BeginCaptureIfDue(clone, snapshot, surface.width, surface.height);
}

void EndCapturedFrame(const FrameJob& job, const Surface& surface) {
  if (!CaptureReferencePixels()) {
    WriteCaptureFrame(job, nullptr, 0);
    return;
  }
  const std::size_t rowBytes = static_cast<std::size_t>(surface.width) * 4;
  std::vector<std::uint8_t> pixels(rowBytes * static_cast<std::size_t>(surface.height));
  const auto* row = reinterpret_cast<const std::uint8_t*>(surface.colorBuffer);
  // A surface that lost its colour buffer leaves the reference black rather than the capture short.
  for (std::size_t y = 0; row != nullptr && y < static_cast<std::size_t>(surface.height); ++y, row += surface.rowPitch)
    std::memcpy(pixels.data() + y * rowBytes, row, rowBytes);
  WriteCaptureFrame(job, pixels.data(), pixels.size());
}

void RenderAsFarAsCutoff(const Surface& surface) {
  const std::int32_t cutoff = Settings().pipelineCutoff;
  if (cutoff >= 0 && cutoff <= kLastCutoffBeforeRender) return;
  RenderOptions options;
  options.binOnly = cutoff == kCutoffBinOnly;
  options.clearIfEmpty = 1;
  options.cutoff = cutoff;
  RenderFrame(surface, options);
}

/// The frame from the recorded stream to the window.
void BuildAndShow(ContextRecord& context, FrameJob& job, void* hdc) {
  CommandStream& live = CommandStreamInstance();
  const bool recording = Recording();
  if (recording) {
    const CmdSwapBuffers record;
    std::memcpy(StreamAppend(live, sizeof record), &record, sizeof record);
    Keyframe keyframe;
    BuildKeyframe(keyframe);
    job.keyframe = std::move(keyframe);
    SwapStreams(live, job.stream);
    job.stream.fromCalls = true;
  }
  // Without a stream there is nothing to write, so no file is made either.
  if (recording && Capturing()) StartCapturedFrame(context.surface);
  if (recording) {
    RunFrameBuild(job, true);
  } else {
    RunFrameBuildInline(true);
  }
  TakeKeyframe();
  RenderAsFarAsCutoff(context.surface);
  if (recording && Capturing()) EndCapturedFrame(job, context.surface);
  SurfacePresent(context.surface, hdc);
  ResetFrame(DriverStateInstance());
  if (recording) {
    StreamSummary summary = {};
    ScanStream(job.stream, &summary);
    EmptyStream(job.stream);
    SwapStreams(live, job.stream);  // the live stream has its large capacity again
  }
}

/// Builds the frame as recorded so far; the stream is consumed.
bool BuildForReadBack() {
  if (CurrentThreadGuard().suppress) return true;
  if (!RecordingEnabled()) return RunFrameBuildInline(true);
  CommandStream& live = CommandStreamInstance();
  FrameJob job = {};
  BuildKeyframe(job.keyframe);
  const std::uint32_t baseSequence = live.baseSequence;
  live.bytes.Swap(job.stream.bytes);
  live.blob.Swap(job.stream.blob);
  live.images.swap(job.stream.images);
  job.stream.baseSequence = baseSequence;
  job.stream.fromCalls = true;
  const bool built = RunFrameBuild(job, true);
  EmptyStream(job.stream);
  live.bytes.Swap(job.stream.bytes);
  live.blob.Swap(job.stream.blob);
  live.images.swap(job.stream.images);
  live.baseSequence = baseSequence;
  return built;
}

}  // namespace

void SwapFrame(void* hdc) {
  const FloatRules rules;  // without threads of its own the driver draws on this one
  FrameJob job = {};
  if (ContextRecord* context = CurrentContext(); context != nullptr) BuildAndShow(*context, job, hdc);
  EmptyStream(CommandStreamInstance());
  TexelVector::DropSpare();  // the job's keyframe may leave another one, for the next frame
  const std::int32_t frame = currentFrame.fetch_add(1) + 1;
  FrameTick();
  if (frame % kSummaryInterval == 0) WriteCallSummary();
}

bool DrainForReadBack() {
  const FloatRules rules;
  if (!BuildForReadBack()) return false;
  DriverState& state = DriverStateInstance();
  // A pending depth clear alone does not count. Then no keyframe is taken either, and the drained state calls are lost
  // with the next replay: kept on purpose, the picture of later frames depends on it.
  if (state.pendingColorClear == 0 && state.triangles.empty()) return true;
  if (const ContextRecord* context = CurrentContext(); context != nullptr) RenderAsFarAsCutoff(context->surface);
  TakeKeyframe();
  ResetFrame(state);
  if (!CurrentThreadGuard().suppress) EmptyStream(CommandStreamInstance());
  return true;
}

}  // namespace tlr2
