// Playing a capture. The steps of a frame are the swap's own, in its order.
#include "tlr2_replay/session.h"

#include <algorithm>
#include <cstring>

#include "api/state/driver_state.h"
#include "api/state/keyframe.h"
#include "api/table/commands.h"
#include "base/hash.h"
#include "frame/emission.h"
#include "frame/replay.h"
#include "platform/clock.h"
#include "platform/topology.h"
#include "tiles/frame_tasks.h"
#include "tiles/grid/grid.h"
#include "tiles/queue/render_job_queue.h"
#include "tiles/runtime_config.h"
#include "tlr2_replay/command.h"
#include "tlr2_replay/known_pixels.h"

namespace tlr2::tool {

const char* const kTargetNames[4] = {"sse4", "avx", "avx2", "avx512skx"};

namespace {

constexpr std::int32_t kTargets = 4;
constexpr std::int32_t kLastCutoffBeforeRender = 2, kCutoffBinOnly = 4;
constexpr std::int32_t kQueueCapacity = 64;
/// Rows are longer than their pixels, as mapped memory of a device may be.
constexpr std::size_t kRowPaddingWords = 16;
constexpr float kFarDepth = 1.0f;

double Milliseconds(std::int64_t ticks) noexcept {
  return static_cast<double>(ticks) * 1000.0 / static_cast<double>(TicksPerSecond());
}
double Milliseconds(std::uint64_t ticks) noexcept { return Milliseconds(static_cast<std::int64_t>(ticks)); }

/// The pool has a worker a processor, but no more than tasks.
void FitPool(std::int32_t threads) {
  const auto processors = static_cast<std::int32_t>(std::max<std::uint32_t>(ActiveProcessorCount(), 1));
  const std::int32_t wanted = threads > 0 ? std::min(threads, processors) : processors;
  if (RJQ::Pool() != nullptr) {
    if (RJQ::WorkerCount(RJQ::Pool()) == wanted) return;
    RJQ::StopPool();
  }
  RJQ::StartPool(kQueueCapacity, wanted);  // without a pool the frame is drawn on this thread
}

/// A driver state as at load that keeps the vectors' storage. Bounds are as a new grid has them.
void FreshDriverState() {
  DriverState& state = DriverStateInstance();
  DriverState fresh;
  fresh.vertices.Swap(state.vertices);
  fresh.packetVertices.Swap(state.packetVertices);
  fresh.packets.Swap(state.packets);
  fresh.triangles.Swap(state.triangles);
  fresh.vertices.clear();
  fresh.packetVertices.clear();
  fresh.packets.clear();
  fresh.triangles.clear();
  state = std::move(fresh);
  LiveKeyframe& live = LiveKeyframeInstance();
  static_cast<Keyframe&>(live) = Keyframe{};
  live.touched.clear();
}

Keyframe KeyframeOf(const CaptureContents& capture) {
  Keyframe keyframe;
  keyframe.snapshot = capture.snapshot;
  keyframe.textureCount = static_cast<std::uint32_t>(capture.textures.size());
  for (std::uint32_t i = 0; i < keyframe.textureCount; ++i) keyframe.pendingIds.push_back(i);
  keyframe.pendingRecords = capture.textures;
  keyframe.valid = 1;
  return keyframe;
}

struct Noise {
  std::uint32_t state;
  std::uint32_t Word() noexcept {
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    return state;
  }
  float Fraction() noexcept { return static_cast<float>(Word() >> 8) / 16777216.0f; }
};

/// A frame's buffers out of the capture and, at the end, back into it.
class LentFrame {
 public:
  LentFrame(CaptureContents& capture, std::size_t frame) noexcept : capture_(capture), frame_(frame) { Exchange(); }
  ~LentFrame() { Exchange(); }
  LentFrame(const LentFrame&) = delete;
  LentFrame& operator=(const LentFrame&) = delete;
  CommandStream stream;

 private:
  void Exchange() noexcept {
    stream.bytes.Swap(capture_.streams[frame_]);
    stream.blob.Swap(capture_.blobs[frame_]);
  }
  CaptureContents& capture_;
  std::size_t frame_;
};

}  // namespace

std::vector<std::int32_t> SupportedTargets() {
  std::vector<std::int32_t> targets;
  for (std::int32_t target = 0; target < kTargets; ++target)
    if (IsaSupported(target)) targets.push_back(target);
  return targets;
}

std::int32_t ResolveTarget(std::int32_t isa) {
  if (isa >= 0 && isa < kTargets) {
    if (!IsaSupported(isa))
      throw CommandFailure{kFailed, std::string("this processor does not run the target ") + kTargetNames[isa]};
    return isa;
  }
  const std::vector<std::int32_t> targets = SupportedTargets();
  if (targets.empty()) throw CommandFailure{kFailed, "this processor runs none of the targets"};
  return targets.back();
}

Session::Session(CaptureContents& capture, const SessionOptions& options)
    : capture_(capture), options_(options), target_(ResolveTarget(options.isa)) {
  if (options_.keepKnown) options_.keepStart = true;
  FitPool(options_.threads);
  Rewind();
}

Session::~Session() = default;

void Session::ApplySettings() const {
  DriverSettings& settings = Settings();
  const DriverSettings builtIn;
  const auto* from = reinterpret_cast<const SettingWord*>(&builtIn);
  auto* to = reinterpret_cast<SettingWord*>(&settings);
  for (std::size_t i = 0; i < sizeof(DriverSettings) / sizeof(SettingWord); ++i) to[i] = std::int32_t{from[i]};
  settings.forceIsa = target_ + 1;
  settings.pipelineCutoff = options_.cutoff;
  for (const auto& [word, value] : options_.settings) settings.*word = value;
}

void Session::Rewind() {
  next_ = 0;
  FreshDriverState();
  width_ = height_ = 0;
  Resize(static_cast<std::int32_t>(capture_.width), static_cast<std::int32_t>(capture_.height));
  if (options_.keepKnown) known_ = std::make_unique<KnownPixels>(width_, height_);
}

void Session::LeaveNoise() {
  Noise noise{options_.leftovers};
  for (std::vector<std::uint32_t>& buffer : color_)
    for (std::uint32_t& pixel : buffer) pixel = noise.Word();
  for (float& depth : depth_) depth = noise.Fraction();
}

void Session::Resize(std::int32_t width, std::int32_t height) {
  width_ = width;
  height_ = height;
  pitch_ = static_cast<std::size_t>(std::max(width, 0)) + kRowPaddingWords;
  const std::size_t rows = static_cast<std::size_t>(std::max(height, 0));
  for (std::vector<std::uint32_t>& buffer : color_) buffer.assign(pitch_ * rows, 0);
  shown_ = 0;
  depth_.assign(static_cast<std::size_t>(std::max(width, 0)) * rows, kFarDepth);
  if (options_.leftovers != 0) LeaveNoise();
}

/// A viewport larger than the surface had it made anew at the call, before its frame was drawn. A call without a
/// current context had not: the size of the frame's reference pixels then tells.
void Session::CoverViewports(const CommandStream& stream) {
  std::int32_t width = width_, height = height_;
  const std::uint8_t* at = stream.bytes.data();
  std::size_t left = stream.bytes.size();
  while (left >= kCmdHeaderBytes) {
    const std::uint32_t header = ReadCmdHeader(at);
    const std::size_t size = CmdHeaderSize(header);
    const std::uint32_t id = CmdHeaderId(header);
    if (size < kCmdHeaderBytes || size > left || id == static_cast<std::uint32_t>(Cmd::SwapBuffers)) break;
    if (id == static_cast<std::uint32_t>(Cmd::Viewport)) {
      const auto record = ReadRecord<CmdViewport>(at, size);
      if (record.width > 0 && record.height > 0) {
        width = std::max(width, record.width);
        height = std::max(height, record.height);
      }
    }
    at += size;
    left -= size;
  }
  if (width == width_ && height == height_) return;
  const std::uint64_t referenceBytes = capture_.references[next_].size();
  if (referenceBytes != 0 &&
      referenceBytes == std::uint64_t{4} * static_cast<std::uint32_t>(width_) * static_cast<std::uint32_t>(height_))
    return;
  Resize(width, height);
  if (known_ != nullptr) known_->SurfaceMade(width, height);
}

SurfaceView Session::View() noexcept {
  SurfaceView view;
  const bool empty = width_ < 1 || height_ < 1;
  view.colorBuffer = empty ? nullptr : color_[shown_].data();
  view.depthBuffer = empty ? nullptr : depth_.data();
  view.width = width_;
  view.height = height_;
  view.rowPitch = static_cast<std::uint32_t>(pitch_ * sizeof(std::uint32_t));
  return view;
}

std::int32_t Session::TaskCount() const noexcept {
  const DriverState& state = DriverStateInstance();
  if (options_.threads <= 0) return 0;
  const std::int64_t tiles =
      state.macroCols > 0 && state.macroRows > 0 ? std::int64_t{state.macroCols} * state.macroRows : 1;
  return static_cast<std::int32_t>(std::min<std::int64_t>(options_.threads, tiles));
}

void Session::KeepStart(const SurfaceView& surface, const RenderOptions& options) {
  const DriverState& state = DriverStateInstance();
  start_.width = width_;
  start_.height = height_;
  start_.depth.assign(depth_.begin(), depth_.end());
  start_.bounds.assign(state.hizTable.begin(), state.hizTable.end());
  const std::size_t width = static_cast<std::size_t>(std::max(width_, 0));
  start_.color.resize(depth_.size());
  for (std::int32_t y = 0; surface.colorBuffer != nullptr && y < height_; ++y)
    std::memcpy(start_.color.data() + static_cast<std::size_t>(y) * width,
                color_[shown_].data() + static_cast<std::size_t>(y) * pitch_, width * sizeof(std::uint32_t));
  if (state.pendingColorClear != 0) {
    std::fill(start_.color.begin(), start_.color.end(), state.pendingColorClearValue);
  } else if (state.triangles.empty() && options.clearIfEmpty != 0) {
    std::fill(start_.color.begin(), start_.color.end(), state.clearColor);
  }
  if (state.pendingDepthClear != 0) {
    std::fill(start_.depth.begin(), start_.depth.end(), state.pendingDepthClearValue);
    std::fill(start_.bounds.begin(), start_.bounds.end(), state.pendingDepthClearValue);
  }
}

const FrameFigures& Session::Step(const StepHooks& hooks) {
  if (next_ >= FrameCount()) throw CommandFailure{kFailed, "no frame " + std::to_string(next_) + " in the capture"};
  DriverState& state = DriverStateInstance();
  ApplySettings();
  LentFrame lent(capture_, next_);
  CoverViewports(lent.stream);
  if (next_ != 0) shown_ ^= 1;

  Keyframe keyframe;
  if (next_ == 0) {
    keyframe = KeyframeOf(capture_);
  } else {
    BuildKeyframe(keyframe);
  }
  const std::int32_t gridWidth = next_ == 0 ? capture_.snapshot.fbWidth : state.fbWidth;
  const std::int32_t gridHeight = next_ == 0 ? capture_.snapshot.fbHeight : state.fbHeight;
  const std::int64_t start = TicksNow();
  ReplayFrame(lent.stream, &keyframe, true);
  TakeKeyframe();
  std::int64_t elapsed = TicksNow() - start;
  const FrameBuildStats build = state.buildStats;
  const bool newGrid = state.fbWidth != gridWidth || state.fbHeight != gridHeight;
  if (next_ == 0 && !newGrid && options_.leftovers != 0) {
    Noise noise{~options_.leftovers};
    for (float& bound : state.hizTable) bound = noise.Fraction();
  }

  const std::int32_t cutoff = Settings().pipelineCutoff;
  RenderOptions options;
  options.binOnly = cutoff == kCutoffBinOnly;
  options.clearIfEmpty = 1;
  options.cutoff = cutoff;
  const SurfaceView surface = View();
  const bool renders = cutoff < 0 || cutoff > kLastCutoffBeforeRender;
  if (options_.keepStart) KeepStart(surface, options);
  if (known_ != nullptr) {
    if (newGrid) known_->GridMade();
    known_->FrameBegins(shown_, state, renders);
  }
  if (renders) {
    FrameOverrides overrides;
    overrides.kernel = hooks.kernel;
    overrides.taskCount = TaskCount();
    const std::int64_t renderStart = TicksNow();
    RenderFrameWith(surface, options, overrides);
    elapsed += TicksNow() - renderStart;
    if (known_ != nullptr && cutoff == 5) known_->FrameRendered(*this);
  }

  figures_ = {};
  figures_.frame = next_;
  figures_.records = build.records;
  figures_.vertices = build.vertices;
  figures_.packets = build.packetCount;
  figures_.triangles = state.triangles.size();
  figures_.interpretMs = Milliseconds(build.interpreterTicks);
  figures_.emitMs = Milliseconds(build.emissionTicks);
  figures_.totalMs = Milliseconds(elapsed);
  if (renders) {
    const FrameStats& stats = LatestFrameStats();
    figures_.tasks = stats.activeTasks;
    figures_.prepMs = stats.prepMs;
    figures_.workersMs = stats.workersMs;
    figures_.binMs = stats.binMs;
    figures_.rasterMs = stats.rasterMs;
  }
  if (hooks.rendered) hooks.rendered();
  ResetFrame(state);
  ++next_;
  return figures_;
}

void Session::PlayUpTo(std::uint32_t frame) {
  if (frame < next_) Rewind();
  while (next_ < frame) Step();
}

std::uint32_t Session::OpenPrimitiveMode() const noexcept {
  return next_ == 0 ? capture_.snapshot.primitiveMode : DriverStateInstance().primitiveMode;
}

const FrameFigures& Session::StepTo(std::uint32_t frame, const StepHooks& hooks) {
  PlayUpTo(frame);
  return Step(hooks);
}

PictureView Session::Picture() const noexcept {
  return {color_[shown_].data(), std::max(width_, 0), std::max(height_, 0), pitch_};
}

DepthView Session::Depth() const noexcept { return {depth_.data(), std::max(width_, 0), std::max(height_, 0)}; }

std::uint32_t Session::ColorHash() const {
  const PictureView picture = Picture();
  std::vector<std::uint32_t> tight;
  for (std::int32_t y = 0; y < picture.height; ++y)
    tight.insert(tight.end(), picture.Row(y), picture.Row(y) + picture.width);
  return Fnv1a(tight.data(), tight.size() * sizeof tight[0]);
}

std::uint32_t Session::DepthHash() const { return Fnv1a(depth_.data(), depth_.size() * sizeof(float)); }

bool Session::HasReference() const noexcept { return next_ > 0 && !capture_.references[next_ - 1].empty(); }

PictureView Session::Reference() const noexcept {
  if (!HasReference()) return {};
  const ByteVector& bytes = capture_.references[next_ - 1];
  const PictureView picture = Picture();
  if (bytes.size() !=
      std::uint64_t{4} * static_cast<std::uint32_t>(picture.width) * static_cast<std::uint32_t>(picture.height))
    return {};
  return {reinterpret_cast<const std::uint32_t*>(bytes.data()), picture.width, picture.height,
          static_cast<std::size_t>(picture.width)};
}

std::vector<std::uint32_t> Session::TrianglesOfPrimitives() const {
  const DriverState& state = DriverStateInstance();
  std::vector<std::uint32_t> counts;
  counts.reserve(state.packets.size());
  for (const NativePacket& packet : state.packets)
    counts.push_back(EmitPacket(packet, state.packetVertices.data(), nullptr));
  return counts;
}

std::vector<std::uint32_t> Session::DrawPrefix(std::uint32_t count, std::vector<float>* depth,
                                               TileKernelFn kernel) const {
  DriverState& state = DriverStateInstance();
  std::vector<std::uint32_t> color = start_.color;
  std::vector<float> depths = start_.depth;
  const std::size_t total = state.triangles.size();
  if (count != 0 && width_ > 0 && height_ > 0) {
    const TriangleVector all = state.triangles;
    const GrowingVector<float> bounds = state.hizTable;
    state.triangles.resize(std::min<std::size_t>(count, total));
    for (std::size_t i = 0; i < start_.bounds.size() && i < state.hizTable.size(); ++i)
      state.hizTable[i] = start_.bounds[i];
    SurfaceView surface;
    surface.colorBuffer = color.data();
    surface.depthBuffer = depths.data();
    surface.width = width_;
    surface.height = height_;
    surface.rowPitch = static_cast<std::uint32_t>(width_) * 4;
    RenderOptions options;
    options.clearIfEmpty = 0;
    FrameOverrides overrides;
    overrides.kernel = kernel;
    overrides.taskCount = TaskCount();
    RenderFrameWith(surface, options, overrides);
    state.triangles = all;
    state.hizTable = bounds;
  }
  if (depth != nullptr) *depth = std::move(depths);
  return color;
}

}  // namespace tlr2::tool
