// A capture as it plays: the driver's own replay and renderer, frame after frame as the swap runs them, into memory.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "capture/reader.h"
#include "settings/settings.h"
#include "tiles/render_frame.h"

namespace tlr2::tool {

class KnownPixels;

/// How a session draws. Settings that are not named have their built-in values, never the user's stored ones.
struct SessionOptions {
  std::int32_t isa = -1;     // 0 sse4, 1 avx, 2 avx2, 3 avx512skx; -1 the best that this processor has
  std::int32_t threads = 0;  // tasks of a frame, also beyond the processors; 0 for one a processor
  std::int32_t cutoff = 5;   // the stage of the pipeline to stop after; 5 for all of it
  std::vector<std::pair<SettingWord DriverSettings::*, std::int32_t>> settings;
  /// What the buffers hold before the first frame, which no capture tells: 0 for black at the far depth, otherwise the
  /// seed of noise, for a look at what depends on it.
  std::uint32_t leftovers = 0;
  bool keepStart = false;  // copy what each frame starts from, for walks over the frame
  bool keepKnown = false;  // keep account of which pixels the file decides; implies keepStart
};

extern const char* const kTargetNames[4];
/// The targets that this processor runs, in order.
std::vector<std::int32_t> SupportedTargets();
/// Throws a failure for a target that this processor lacks.
std::int32_t ResolveTarget(std::int32_t isa);

/// Rows of 32-bit words; `pitch` in words.
struct PictureView {
  const std::uint32_t* pixels = nullptr;
  std::int32_t width = 0, height = 0;
  std::size_t pitch = 0;
  const std::uint32_t* Row(std::int32_t y) const noexcept { return pixels + static_cast<std::size_t>(y) * pitch; }
};
struct DepthView {
  const float* depths = nullptr;
  std::int32_t width = 0, height = 0;
};

/// What the tasks of a frame find before the first triangle: the buffers behind the frame's clears, rows tight.
struct FrameStart {
  std::int32_t width = 0, height = 0;
  std::vector<std::uint32_t> color;
  std::vector<float> depth;
  std::vector<float> bounds;  // one a micro tile
};

/// Figures of one frame; times in milliseconds.
struct FrameFigures {
  std::uint32_t frame = 0;
  std::uint64_t records = 0, vertices = 0, packets = 0, triangles = 0;
  std::int32_t tasks = 0;
  double interpretMs = 0, emitMs = 0, prepMs = 0, workersMs = 0;
  double binMs = 0, rasterMs = 0;  // summed over tasks
  double totalMs = 0;              // replay and render
};

struct StepHooks {
  TileKernelFn kernel = nullptr;   // instead of the target's
  std::function<void()> rendered;  // with the frame's triangles, lists and bounds still in the driver state
};

/// The driver's state is the process's: one session plays at a time. Making or rewinding one starts from the file
/// alone, whatever played before.
class Session {
 public:
  /// Lends itself the capture's frames as they play, and gives them back.
  Session(CaptureContents& capture, const SessionOptions& options);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  std::uint32_t FrameCount() const noexcept { return static_cast<std::uint32_t>(capture_.streams.size()); }
  /// The frame that the next step plays.
  std::uint32_t NextFrame() const noexcept { return next_; }
  void Rewind();
  /// Plays the frames ahead of `frame`, which is then the next one.
  void PlayUpTo(std::uint32_t frame);
  /// The primitive that the next frame begins inside of, opened by an earlier one or by the keyframe; 0 for none.
  std::uint32_t OpenPrimitiveMode() const noexcept;
  /// Plays one frame. The pictures below are then that frame's, until the next step.
  const FrameFigures& Step(const StepHooks& hooks = {});
  /// Plays up to and including `frame`.
  const FrameFigures& StepTo(std::uint32_t frame, const StepHooks& hooks = {});

  PictureView Picture() const noexcept;
  DepthView Depth() const noexcept;
  std::uint32_t ColorHash() const;
  std::uint32_t DepthHash() const;
  /// The picture that the file holds for the latest frame; empty when it has none, or one of another size.
  PictureView Reference() const noexcept;
  bool HasReference() const noexcept;

  const FrameStart& Start() const noexcept { return start_; }
  /// Pixels of the latest frame that the file decides; null unless kept.
  const KnownPixels* Known() const noexcept { return known_.get(); }
  std::int32_t Target() const noexcept { return target_; }
  const SessionOptions& Options() const noexcept { return options_; }
  CaptureContents& Capture() noexcept { return capture_; }

  /// The triangles of each of the latest frame's primitives, in order. Only inside `rendered`.
  std::vector<std::uint32_t> TrianglesOfPrimitives() const;
  /// Draws the first `count` of the frame's triangles on what the frame started from, as a frame that ended there
  /// would be. Only inside `rendered`, with keepStart.
  std::vector<std::uint32_t> DrawPrefix(std::uint32_t count, std::vector<float>* depth = nullptr,
                                        TileKernelFn kernel = nullptr) const;

 private:
  void ApplySettings() const;
  void Resize(std::int32_t width, std::int32_t height);
  void CoverViewports(const CommandStream& stream);
  void LeaveNoise();
  void KeepStart(const SurfaceView& surface, const RenderOptions& options);
  SurfaceView View() noexcept;
  std::int32_t TaskCount() const noexcept;

  CaptureContents& capture_;
  SessionOptions options_;
  std::int32_t target_;
  std::uint32_t next_ = 0;
  std::int32_t width_ = 0, height_ = 0;
  std::size_t pitch_ = 0;  // in words
  // Two colour buffers take turns, as the presenter's do: a frame that clears nothing draws on the one before last.
  std::vector<std::uint32_t> color_[2];
  int shown_ = 0;
  std::vector<float> depth_;
  FrameStart start_;
  FrameFigures figures_;
  std::unique_ptr<KnownPixels> known_;
};

}  // namespace tlr2::tool
