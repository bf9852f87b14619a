// Knowledge spreads as values do: a pixel is known after an opaque store whose tests were decided by known values.
#include "tlr2_replay/known_pixels.h"

#include <algorithm>

#include "api/state/driver_state.h"
#include "tlr2_replay/scalar_frame.h"
#include "tlr2_replay/session.h"

namespace tlr2::tool {
namespace {

constexpr std::uint32_t kAlways = 0, kLequal = 2, kNever = 7;
constexpr std::uint32_t kBlendNone = 0, kBlendAlpha = 3;
constexpr float kOpaque = 255.0f;

struct Spread {
  std::vector<std::uint8_t>& color;
  std::vector<std::uint8_t>& depth;
  std::size_t width;
  bool bounds;
};

void OnFragment(void* context, const judge::ScalarFragment& fragment) {
  Spread& spread = *static_cast<Spread*>(context);
  const TriangleRecord& tri = DriverStateInstance().triangles[fragment.triangle];
  const std::size_t at = static_cast<std::size_t>(fragment.y) * spread.width + static_cast<std::size_t>(fragment.x);
  const bool tested = tri.depthTest != 0;
  const bool writes = tested && tri.depthWrite != 0;
  if (tested && tri.depthFunc >= kNever) return;
  const bool meetsDepth = tested && tri.depthFunc != kAlways;
  const bool meetsBound = tested && tri.depthFunc == kLequal && tri.blendMode == kBlendNone && tri.alphaTest == 0;
  if ((meetsDepth && spread.depth[at] == 0) || (meetsBound && !spread.bounds)) {
    spread.color[at] = 0;
    if (writes) spread.depth[at] = 0;
    return;
  }
  if (fragment.fate != judge::FragmentFate::kStored) return;
  if (tri.blendMode == kBlendNone || tri.blendMode > kBlendAlpha ||
      (tri.blendMode == kBlendAlpha && fragment.color[3] == kOpaque))
    spread.color[at] = 1;
  if (writes) spread.depth[at] = 1;
}

bool AllKnown(const std::vector<std::uint8_t>& pixels) {
  return std::find(pixels.begin(), pixels.end(), std::uint8_t{0}) == pixels.end();
}

}  // namespace

KnownPixels::KnownPixels(std::int32_t width, std::int32_t height) : width_(width) {
  const std::size_t pixels =
      static_cast<std::size_t>(std::max(width, 0)) * static_cast<std::size_t>(std::max(height, 0));
  for (std::vector<std::uint8_t>& color : color_) color.assign(pixels, 0);
  depth_.assign(pixels, 0);
}

void KnownPixels::SurfaceMade(std::int32_t width, std::int32_t height) {
  const bool bounds = bounds_;
  *this = KnownPixels(width, height);
  bounds_ = bounds;
}

void KnownPixels::GridMade() { bounds_ = true; }

void KnownPixels::FrameBegins(int buffer, const DriverState& state, bool renders) {
  buffer_ = buffer;
  if (!renders) return;
  if (state.pendingColorClear != 0 || state.triangles.empty())
    std::fill(color_[buffer_].begin(), color_[buffer_].end(), std::uint8_t{1});
  if (state.pendingDepthClear != 0) {
    std::fill(depth_.begin(), depth_.end(), std::uint8_t{1});
    bounds_ = true;
  }
}

void KnownPixels::FrameRendered(const Session& session) {
  if (DriverStateInstance().triangles.empty()) return;
  if (bounds_ && AllKnown(depth_) && AllKnown(color_[buffer_])) return;
  FrameStart start = session.Start();
  Spread spread{color_[buffer_], depth_, static_cast<std::size_t>(width_), bounds_};
  judge::ScalarObserver observer;
  observer.fragment = OnFragment;
  observer.context = &spread;
  WalkFrame(start, session.Target(), {}, observer);
}

std::uint64_t KnownPixels::UnknownCount() const noexcept {
  return static_cast<std::uint64_t>(std::count(color_[buffer_].begin(), color_[buffer_].end(), std::uint8_t{0}));
}

std::optional<KnownPixels::Bounds> KnownPixels::UnknownBounds() const noexcept {
  const std::vector<std::uint8_t>& color = color_[buffer_];
  std::optional<Bounds> bounds;
  for (std::size_t at = 0; at < color.size(); ++at) {
    if (color[at] != 0) continue;
    const auto x = static_cast<std::int32_t>(at % static_cast<std::size_t>(width_));
    const auto y = static_cast<std::int32_t>(at / static_cast<std::size_t>(width_));
    if (!bounds) bounds = Bounds{x, y, x, y};
    bounds->x0 = std::min(bounds->x0, x);
    bounds->x1 = std::max(bounds->x1, x);
    bounds->y1 = y;
  }
  return bounds;
}

}  // namespace tlr2::tool
