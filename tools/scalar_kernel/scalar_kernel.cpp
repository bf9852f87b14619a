// The scalar tile kernel: scan, coverage, depth, the two orders of planes and triangles, shading decisions and stores.
#include "scalar_kernel.h"

#include <bit>
#include <cmath>
#include <cstring>

#include "scalar_shading.h"

namespace tlr2::judge {
namespace {

constexpr int kLaneX[kMaxLanes] = {0, 2, 0, 2, 4, 6, 4, 6, 0, 2, 0, 2, 4, 6, 4, 6};
constexpr int kLaneY[kMaxLanes] = {0, 2, 2, 0, 0, 2, 2, 0, 4, 6, 6, 4, 4, 6, 6, 4};

constexpr float kBias = 0.00390625f;        // 1/256, in units of doubled area
constexpr float kAlphaThreshold = 169.83f;  // bits 0x4329D47B
// Squares in single precision: the decimal numbers round to other floats, a last unit away.
constexpr float kStopAfterPlane0 = 0.0005f * 0.0005f;
constexpr float kStopAfterPlane3 = 0.038f * 0.038f;
constexpr float kStopAfterPlane2 = 0.072f * 0.072f;
static_assert(std::bit_cast<std::uint32_t>(kStopAfterPlane0) == 0x348637BEu);
static_assert(std::bit_cast<std::uint32_t>(kStopAfterPlane3) == 0x3ABD4499u);
static_assert(std::bit_cast<std::uint32_t>(kStopAfterPlane2) == 0x3BA9DE8Au);
constexpr float kThird = 0.33333334f;

struct Tile {
  std::int32_t x0, y0, x1, y1;
};

struct Edge {
  float dx, dy;  // from its first vertex to its second
  float originX, originY;
  float bias;
};

struct Setup {
  float area;
  float inverseArea;
  Edge edges[3];  // 0 to 1, 1 to 2, 2 to 0
  bool drawable;
};

struct Plane {
  std::uint8_t mask[kMaxLanes];
  std::int32_t x[kMaxLanes];
  std::int32_t y[kMaxLanes];
  Barycentrics weights;
  float z[kMaxLanes];
  // For an observer alone.
  std::uint8_t covered[kMaxLanes];
  float stored[kMaxLanes];
};

/// What an observer is told beside the planes; null without one.
struct Observation {
  const ScalarObserver* observer;
  std::int32_t x0, y0;
  std::uint32_t triangle;
  FragmentShading detail[4][kMaxLanes];
  ColorSource source[4];
};

bool AnyLive(const Plane& plane, int lanes) {
  for (int i = 0; i < lanes; ++i) {
    if (plane.mask[i]) return true;
  }
  return false;
}

// -- The scan over the list -----------------------------------------------------------------------------------------

bool InsideAtCorner(const TriangleRecord& tri, float px, float py, bool positive) {
  for (int a = 0; a < 3; ++a) {
    const int b = (a + 1) % 3;
    const float left = (tri.x[b] - tri.x[a]) * (py - tri.y[a]);
    const float right = (tri.y[b] - tri.y[a]) * (px - tri.x[a]);
    const float value = left - right;
    if (positive ? !(value >= 0.0f) : !(value <= 0.0f)) return false;
  }
  return true;
}

bool CoversWholeTile(const TriangleRecord& tri, const Tile& tile) {
  const float left = static_cast<float>(tile.x0) + 0.5f;
  const float right = static_cast<float>(tile.x1 - 1) + 0.5f;
  const float top = static_cast<float>(tile.y0) + 0.5f;
  const float bottom = static_cast<float>(tile.y1 - 1) + 0.5f;
  const float first = (tri.x[1] - tri.x[0]) * (tri.y[2] - tri.y[0]);
  const float second = (tri.y[1] - tri.y[0]) * (tri.x[2] - tri.x[0]);
  const bool positive = first > second;
  return InsideAtCorner(tri, left, top, positive) && InsideAtCorner(tri, right, top, positive) &&
         InsideAtCorner(tri, left, bottom, positive) && InsideAtCorner(tri, right, bottom, positive);
}

float ScanList(const KernelFrameArgs& args, const Tile& tile, const std::uint32_t* entries, std::int32_t count,
               float bound, ScalarTrace& trace) {
  for (std::int32_t i = 0; i < count; ++i) {
    const TriangleRecord& tri = args.triangles[entries[i]];
    const bool candidate = tri.depthTest != 0 && tri.depthFunc == 2 && tri.depthWrite != 0 && tri.blendMode == 0 &&
                           tri.alphaTest == 0 && tri.zMax < bound;
    if (!candidate || !CoversWholeTile(tri, tile)) continue;
    bound = tri.zMax;
    ++trace.scanAccepted;
  }
  return bound;
}

bool HiddenByBound(const TriangleRecord& tri, float bound) {
  return tri.depthTest != 0 && tri.depthFunc == 2 && tri.blendMode == 0 && tri.alphaTest == 0 && tri.zMin > bound;
}

// -- Coverage and depth ---------------------------------------------------------------------------------------------

float BiasOf(const Edge& edge, bool positiveArea) {
  if (positiveArea) return edge.dy < 0.0f || (edge.dy == 0.0f && edge.dx > 0.0f) ? kBias : -kBias;
  return edge.dy > 0.0f || (edge.dy == 0.0f && edge.dx < 0.0f) ? -kBias : kBias;
}

template <bool Fused>
Setup SetUp(const TriangleRecord& tri) {
  Setup setup;
  const float cross = (tri.y[1] - tri.y[0]) * (tri.x[2] - tri.x[0]);
  setup.area = MultiplySubtract<Fused>(tri.x[1] - tri.x[0], tri.y[2] - tri.y[0], cross);
  setup.inverseArea = 1.0f / setup.area;
  bool finite = true;
  for (int a = 0; a < 3; ++a) {
    const int b = (a + 1) % 3;
    Edge& edge = setup.edges[a];
    edge.dx = tri.x[b] - tri.x[a];
    edge.dy = tri.y[b] - tri.y[a];
    edge.originX = tri.x[a];
    edge.originY = tri.y[a];
    edge.bias = BiasOf(edge, setup.area > 0.0f);
    finite = finite && std::isfinite(tri.x[a]) && std::isfinite(tri.y[a]);
  }
  // A vertex at infinity, and an area that is no number, yield no lane.
  setup.drawable = finite && !std::isnan(setup.area) && setup.area != 0.0f;
  return setup;
}

void PlacePlane(Plane& plane, int index, const Tile& tile, int half, int lanes) {
  for (int i = 0; i < lanes; ++i) {
    plane.x[i] = tile.x0 + (index & 1) + kLaneX[i];
    plane.y[i] = tile.y0 + (index >> 1) + kLaneY[i] + 4 * half;
    plane.mask[i] = 0;
    plane.z[i] = 0.0f;
  }
}

template <bool Fused>
void CoverPlane(Plane& plane, const Setup& setup, const Tile& tile, int lanes, ScalarTrace& trace) {
  for (int i = 0; i < lanes; ++i) {
    const float px = static_cast<float>(plane.x[i]) + 0.5f;
    const float py = static_cast<float>(plane.y[i]) + 0.5f;
    float value[3];
    bool inside = true;
    bool insideUnbiased = true;
    for (int k = 0; k < 3; ++k) {
      const Edge& edge = setup.edges[k];
      const float right = edge.dy * (px - edge.originX);
      value[k] = MultiplySubtract<Fused>(edge.dx, py - edge.originY, right);
      const float biased = value[k] + edge.bias;
      inside = inside && (setup.area > 0.0f ? 0.0f <= biased : biased <= 0.0f);
      insideUnbiased = insideUnbiased && (setup.area > 0.0f ? 0.0f <= value[k] : value[k] <= 0.0f);
    }
    const bool bounded = plane.x[i] < tile.x1 && plane.y[i] < tile.y1;
    plane.mask[i] = setup.drawable && inside && bounded ? 1 : 0;
    plane.covered[i] = plane.mask[i];
    if (setup.drawable && bounded && inside != insideUnbiased) ++trace.centresWithinBias;
    plane.weights.b0[i] = value[1] * setup.inverseArea;
    plane.weights.b1[i] = value[2] * setup.inverseArea;
    plane.weights.b2[i] = value[0] * setup.inverseArea;
  }
}

bool DepthPasses(std::uint32_t func, float z, float stored) {
  switch (func) {
    case 0:
      return true;
    case 1:
      return z < stored;
    case 2:
      return z <= stored;
    case 3:
      return z == stored;
    case 4:
      return z >= stored;
    case 5:
      return z > stored;
    case 6:
      return z != stored;
    default:
      return false;
  }
}

template <bool Fused>
void TestDepth(const KernelFrameArgs& args, const TriangleRecord& tri, Plane& plane, int lanes) {
  if (tri.depthTest == 0 || !AnyLive(plane, lanes)) return;
  for (int i = 0; i < lanes; ++i) {
    plane.z[i] = SumOfThree<Fused>(plane.weights, i, tri.z);
    if (!plane.mask[i]) continue;
    const std::size_t at =
        static_cast<std::size_t>(plane.y[i]) * (args.depthStrideBytes / 4) + static_cast<std::size_t>(plane.x[i]);
    plane.stored[i] = args.depthPixels[at];
    if (!DepthPasses(tri.depthFunc, plane.z[i], args.depthPixels[at])) plane.mask[i] = 0;
  }
}

// -- Stores ---------------------------------------------------------------------------------------------------------

template <bool Fused>
float BlendChannel(std::uint32_t mode, float source, float target, float sourceAlpha) {
  switch (mode) {
    case 1:
      return source + target;
    case 2:
      return source * target * kOver255;
    case 3: {
      const float a = sourceAlpha * kOver255;
      return MultiplyAdd<Fused>(target, 1.0f - a, source * a);
    }
    default:
      return source;
  }
}

std::uint32_t StoredByte(float value) {
  const std::int32_t whole = TruncateLane(value);
  return static_cast<std::uint32_t>(whole < 0 ? 0 : whole > 255 ? 255 : whole);
}

/// Tells of lane `i` of plane `index`; `colors` is null where none were computed.
void Tell(const Observation& seen, const TriangleRecord& tri, const Plane& plane, int index, int i, FragmentFate fate,
          const Colors* colors, std::uint32_t before, std::uint32_t after) {
  if (seen.observer->fragment == nullptr) return;
  ScalarFragment fragment;
  fragment.triangle = seen.triangle;
  fragment.x = plane.x[i];
  fragment.y = plane.y[i];
  fragment.plane = index;
  fragment.fate = fate;
  fragment.weights[0] = plane.weights.b0[i];
  fragment.weights[1] = plane.weights.b1[i];
  fragment.weights[2] = plane.weights.b2[i];
  fragment.depthTested = tri.depthTest != 0 && fate != FragmentFate::kHidden;
  if (fragment.depthTested) {
    fragment.z = plane.z[i];
    fragment.storedDepth = plane.stored[i];
  }
  if (colors != nullptr) {
    fragment.source = seen.source[index];
    if (fragment.source == ColorSource::kShaded) fragment.shading = seen.detail[index][i];
    const float color[4] = {colors->r[i], colors->g[i], colors->b[i], colors->a[i]};
    std::memcpy(fragment.color, color, sizeof color);
  }
  fragment.before = before;
  fragment.after = after;
  seen.observer->fragment(seen.observer->context, fragment);
}

void TellOfTriangle(const Observation* seen, int planesShaded, bool hidden) {
  if (seen != nullptr && seen->observer->triangle != nullptr)
    seen->observer->triangle(seen->observer->context, seen->x0, seen->y0, seen->triangle, planesShaded, hidden);
}

std::uint32_t ColorAt(const KernelFrameArgs& args, std::int32_t x, std::int32_t y) {
  std::uint32_t word;
  std::memcpy(&word,
              reinterpret_cast<const char*>(args.colorPixels) + static_cast<std::size_t>(y) * args.colorStrideBytes +
                  static_cast<std::size_t>(x) * 4,
              4);
  return word;
}

/// Tells of all covered lanes of a plane of which no lane is stored.
void TellOfPlane(const KernelFrameArgs& args, const Observation* seen, const TriangleRecord& tri, const Plane& plane,
                 int index, int lanes, FragmentFate fate) {
  for (int i = 0; seen != nullptr && i < lanes; ++i) {
    if (!plane.covered[i]) continue;
    const std::uint32_t color = ColorAt(args, plane.x[i], plane.y[i]);
    Tell(*seen, tri, plane, index, i, fate, nullptr, color, color);
  }
}

template <bool Fused>
void StorePlane(const KernelFrameArgs& args, const TriangleRecord& tri, const Plane& plane, const Colors& colors,
                int lanes, ScalarTrace& trace, const Observation* seen, int index) {
  for (int i = 0; i < lanes; ++i) {
    if (!plane.mask[i]) {
      if (seen != nullptr && plane.covered[i]) {
        const std::uint32_t color = ColorAt(args, plane.x[i], plane.y[i]);
        Tell(*seen, tri, plane, index, i, FragmentFate::kDepthFailed, &colors, color, color);
      }
      continue;
    }
    if (tri.alphaTest != 0 && !(colors.a[i] > kAlphaThreshold)) {
      ++trace.alphaRejected;
      if (seen != nullptr) {
        const std::uint32_t color = ColorAt(args, plane.x[i], plane.y[i]);
        Tell(*seen, tri, plane, index, i, FragmentFate::kAlphaRejected, &colors, color, color);
      }
      continue;
    }
    char* at = reinterpret_cast<char*>(args.colorPixels) +
               static_cast<std::size_t>(plane.y[i]) * args.colorStrideBytes + static_cast<std::size_t>(plane.x[i]) * 4;
    std::uint32_t old = 0;
    if (tri.blendMode != 0) std::memcpy(&old, at, 4);
    const auto channel = [&](float source, int shift) {
      const float target = static_cast<float>(old >> shift & 0xFFu);
      return StoredByte(BlendChannel<Fused>(tri.blendMode, source, target, colors.a[i])) << shift;
    };
    const std::uint32_t pixel =
        channel(colors.a[i], 24) | channel(colors.r[i], 16) | channel(colors.g[i], 8) | channel(colors.b[i], 0);
    if (seen != nullptr) {
      const std::uint32_t before = ColorAt(args, plane.x[i], plane.y[i]);
      Tell(*seen, tri, plane, index, i, FragmentFate::kStored, &colors, before, pixel);
    }
    std::memcpy(at, &pixel, 4);
    ++trace.pixelsStored;
    ++trace.liveByDepthFunc[tri.depthTest == 0 ? 0 : tri.depthFunc < 8 ? tri.depthFunc : 8];
    ++trace.liveByBlend[tri.blendMode < 4 ? tri.blendMode : 4];
    if (tri.depthTest != 0 && tri.depthWrite != 0) {
      args.depthPixels[static_cast<std::size_t>(plane.y[i]) * (args.depthStrideBytes / 4) +
                       static_cast<std::size_t>(plane.x[i])] = plane.z[i];
      ++trace.depthsStored;
    }
  }
}

// -- Sharing --------------------------------------------------------------------------------------------------------

template <bool Fused>
float SpreadOf(const Colors& colors, int lanes) {
  float luminance[kMaxLanes];
  float sums[kMaxLanes];
  for (int i = 0; i < lanes; ++i) {
    float sum = 0.7152f * colors.g[i];
    sum = MultiplyAdd<Fused>(0.2126f, colors.r[i], sum);
    sum = MultiplyAdd<Fused>(0.0722f, colors.b[i], sum);
    luminance[i] = sum * kOver255;
    sums[i] = luminance[i];
  }
  for (int width = lanes; width > 1; width /= 2) {
    for (int i = 0; i < width / 2; ++i) sums[i] = sums[2 * i] + sums[2 * i + 1];
  }
  const float mean = sums[0] * (lanes == 16 ? 0.0625f : 0.125f);
  float greatest = 0.0f;
  for (int i = 0; i < lanes; ++i) {
    const float off = luminance[i] - mean;
    const float squared = off * off;
    greatest = greatest > squared ? greatest : squared;
  }
  return greatest;
}

template <typename Combine>
void ForEachChannel(Colors& out, int lanes, Combine combine) {
  for (int i = 0; i < lanes; ++i) {
    out.r[i] = combine(&Colors::r, i);
    out.g[i] = combine(&Colors::g, i);
    out.b[i] = combine(&Colors::b, i);
    out.a[i] = combine(&Colors::a, i);
  }
}

template <bool Fused>
int ShadePlanes(const KernelFrameArgs& args, const TriangleRecord& tri, const Plane planes[4], Colors slots[4],
                int lanes, ScalarTrace& trace, Observation* seen) {
  using Channel = float(Colors::*)[kMaxLanes];
  const auto shade = [&](int p) {
    ShadePlane<Fused>(args, tri, planes[p].weights, lanes, slots[p], trace,
                      seen != nullptr ? seen->detail[p] : nullptr);
    if (seen != nullptr) seen->source[p] = ColorSource::kShaded;
  };
  const auto share = [&](int p, ColorSource source) {
    if (seen != nullptr) seen->source[p] = source;
  };
  shade(0);
  for (int p = 1; p < 4; ++p) {
    slots[p] = slots[0];
    share(p, ColorSource::kCopyOf0);
  }
  if (args.kernelMode != 1) return 1;
  if (kStopAfterPlane0 > SpreadOf<Fused>(slots[0], lanes)) return 1;

  shade(3);
  ForEachChannel(slots[1], lanes, [&](Channel c, int i) { return ((slots[0].*c)[i] + (slots[3].*c)[i]) * 0.5f; });
  slots[2] = slots[1];
  share(1, ColorSource::kMeanOf0And3);
  share(2, ColorSource::kMeanOf0And3);
  if (kStopAfterPlane3 > SpreadOf<Fused>(slots[3], lanes)) return 2;

  shade(2);
  ForEachChannel(slots[1], lanes,
                 [&](Channel c, int i) { return ((slots[0].*c)[i] + (slots[3].*c)[i] + (slots[2].*c)[i]) * kThird; });
  share(1, ColorSource::kMeanOf0And3And2);
  if (kStopAfterPlane2 > SpreadOf<Fused>(slots[2], lanes)) return 3;

  shade(1);
  return 4;
}

// -- The two forms --------------------------------------------------------------------------------------------------

struct Call {
  const KernelFrameArgs& args;
  Tile tile;
  const std::uint32_t* entries;
  std::int32_t count;
  float bound;
  int lanes;
  ScalarTrace& trace;
  Observation* seen;  // null without an observer
};

Observation* SeenOf(const Call& call, std::uint32_t triangle) {
  if (call.seen != nullptr) {
    call.seen->triangle = triangle;
    for (ColorSource& source : call.seen->source) source = ColorSource::kNone;
  }
  return call.seen;
}

/// A triangle behind the bound is not looked at; an observer wants to know where it would have been.
template <bool Fused>
void TellOfHidden(const Call& call, const TriangleRecord& tri, int firstPlane, int lastPlane, int half) {
  if (call.seen == nullptr) return;
  const Setup setup = SetUp<Fused>(tri);
  if (setup.area == 0.0f) return;
  ScalarTrace unused;
  for (int p = firstPlane; p <= lastPlane; ++p) {
    Plane plane;
    PlacePlane(plane, p, call.tile, half, call.lanes);
    CoverPlane<Fused>(plane, setup, call.tile, call.lanes, unused);
    TellOfPlane(call.args, call.seen, tri, plane, p, call.lanes, FragmentFate::kHidden);
  }
}

template <bool Fused>
void RunTriangleMajor(const Call& call, int half) {
  for (std::int32_t e = 0; e < call.count; ++e) {
    const TriangleRecord& tri = call.args.triangles[call.entries[e]];
    ++call.trace.triangles;
    Observation* seen = SeenOf(call, call.entries[e]);
    if (HiddenByBound(tri, call.bound)) {
      ++call.trace.scanSkipped;
      TellOfHidden<Fused>(call, tri, 0, 3, half);
      TellOfTriangle(seen, 0, true);
      continue;
    }
    const Setup setup = SetUp<Fused>(tri);
    if (setup.area == 0.0f) {
      ++call.trace.zeroArea;
      TellOfTriangle(seen, 0, false);
      continue;
    }
    Plane planes[4];
    bool live = false;
    for (int p = 0; p < 4; ++p) {
      PlacePlane(planes[p], p, call.tile, half, call.lanes);
      CoverPlane<Fused>(planes[p], setup, call.tile, call.lanes, call.trace);
      TestDepth<Fused>(call.args, tri, planes[p], call.lanes);
      live = live || AnyLive(planes[p], call.lanes);
    }
    if (!live) {
      ++call.trace.noLiveLane;
      for (int p = 0; p < 4; ++p)
        TellOfPlane(call.args, seen, tri, planes[p], p, call.lanes, FragmentFate::kDepthFailed);
      TellOfTriangle(seen, 0, false);
      continue;
    }
    Colors slots[4];
    const int shaded = ShadePlanes<Fused>(call.args, tri, planes, slots, call.lanes, call.trace, seen);
    ++call.trace.planesShaded[static_cast<std::size_t>(shaded)];
    TellOfTriangle(seen, shaded, false);
    for (int p = 0; p < 4; ++p) StorePlane<Fused>(call.args, tri, planes[p], slots[p], call.lanes, call.trace, seen, p);
  }
}

template <bool Fused>
void RunPlaneMajor(const Call& call, int index, int half) {
  for (std::int32_t e = 0; e < call.count; ++e) {
    const TriangleRecord& tri = call.args.triangles[call.entries[e]];
    ++call.trace.triangles;
    Observation* seen = SeenOf(call, call.entries[e]);
    if (HiddenByBound(tri, call.bound)) {
      ++call.trace.scanSkipped;
      TellOfHidden<Fused>(call, tri, index, index, half);
      TellOfTriangle(seen, 0, true);
      continue;
    }
    const Setup setup = SetUp<Fused>(tri);
    if (setup.area == 0.0f) {
      ++call.trace.zeroArea;
      TellOfTriangle(seen, 0, false);
      continue;
    }
    Plane plane;
    PlacePlane(plane, index, call.tile, half, call.lanes);
    CoverPlane<Fused>(plane, setup, call.tile, call.lanes, call.trace);
    TestDepth<Fused>(call.args, tri, plane, call.lanes);
    if (!AnyLive(plane, call.lanes)) {
      ++call.trace.noLiveLane;
      TellOfPlane(call.args, seen, tri, plane, index, call.lanes, FragmentFate::kDepthFailed);
      TellOfTriangle(seen, 0, false);
      continue;
    }
    Colors colors;
    ShadePlane<Fused>(call.args, tri, plane.weights, call.lanes, colors, call.trace,
                      seen != nullptr ? seen->detail[index] : nullptr);
    if (seen != nullptr) seen->source[index] = ColorSource::kShaded;
    TellOfTriangle(seen, 1, false);
    StorePlane<Fused>(call.args, tri, plane, colors, call.lanes, call.trace, seen, index);
  }
}

template <bool Fused>
void Run(const Call& call) {
  const int halves = call.lanes == 8 ? 2 : 1;
  if (call.args.kernelMode == 0) {
    for (int p = 0; p < 4; ++p) {
      for (int half = 0; half < halves; ++half) RunPlaneMajor<Fused>(call, p, half);
    }
  } else {
    for (int half = 0; half < halves; ++half) RunTriangleMajor<Fused>(call, half);
  }
}

}  // namespace

void ScalarTileKernel(const KernelFrameArgs* args, std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1,
                      const std::uint32_t* entries, std::int32_t entryCount, float* hizCell, int lanes, bool fused,
                      ScalarTrace* trace, const ScalarObserver* observer) {
  if (entryCount <= 0) return;
  ScalarTrace unused;
  ScalarTrace& counts = trace ? *trace : unused;
  const Tile tile{x0, y0, x1, y1};
  const float bound = ScanList(*args, tile, entries, entryCount, *hizCell, counts);
  *hizCell = bound;
  Observation seen;
  seen.observer = observer;
  seen.x0 = x0;
  seen.y0 = y0;
  const Call call{*args, tile, entries, entryCount, bound, lanes, counts, observer != nullptr ? &seen : nullptr};
  if (fused) {
    Run<true>(call);
  } else {
    Run<false>(call);
  }
}

}  // namespace tlr2::judge
