// The tile kernel once more, as plain loops over lanes: what the vector kernels are held against, and what tells a tool
// how a pixel came about. It is written from the rules of the picture alone and shares no line with the kernels'
// source.
#pragma once

#include <array>
#include <cstdint>

#include "records/kernel_args.h"

namespace tlr2::judge {

/// What a run met, so that a random test can show that it reached the places it is meant to reach.
struct ScalarTrace {
  std::uint64_t triangles = 0;
  std::uint64_t scanAccepted = 0;
  std::uint64_t scanSkipped = 0;
  std::uint64_t zeroArea = 0;
  std::uint64_t noLiveLane = 0;
  std::uint64_t pixelsStored = 0;
  std::uint64_t depthsStored = 0;
  std::uint64_t alphaRejected = 0;
  std::uint64_t centresWithinBias = 0;          // centres that the bias decides, not the sign of the edge value
  std::array<std::uint64_t, 5> planesShaded{};  // [n]: shading sequences that ended after n planes
  std::array<std::uint64_t, 9> liveByDepthFunc{};
  std::array<std::uint64_t, 5> liveByBlend{};  // last: values outside the table
  std::array<std::uint64_t, 6>
      liveByTexture{};  // none, replace, decal, blend, modulate, flat colour by the index alone
  std::array<std::uint64_t, 3> sampledByFilter{};
  std::array<std::uint64_t, 16> sampledByLevel{};
  std::uint64_t sampledPastChain = 0;
};

enum class FragmentFate : std::uint8_t {
  kHidden,  // the whole triangle is skipped: it lies behind the tile's depth bound
  kDepthFailed,
  kAlphaRejected,
  kStored,
};

/// Where a plane's colours came from.
enum class ColorSource : std::uint8_t { kNone, kShaded, kCopyOf0, kMeanOf0And3, kMeanOf0And3And2 };

/// What shading met in one lane.
struct FragmentShading {
  bool textured = false;
  float s = 0, t = 0;
  int level = 0;               // the finer of the two of a trilinear sample
  float interpolated[4] = {};  // the colour ahead of the texture: r, g, b, a on the scale 0 to 255
  float texel[4] = {};         // likewise
};

/// One covered lane of one triangle.
struct ScalarFragment {
  std::uint32_t triangle = 0;
  std::int32_t x = 0, y = 0;
  int plane = 0;
  FragmentFate fate = FragmentFate::kHidden;
  float weights[3] = {};  // of the triangle's vertices
  bool depthTested = false;
  float z = 0, storedDepth = 0;  // with a depth test
  ColorSource source = ColorSource::kNone;
  FragmentShading shading;  // only where the source is kShaded
  float color[4] = {};      // r, g, b, a ahead of the blend
  std::uint32_t before = 0, after = 0;
};

/// Told of every covered lane, in the order in which each pixel meets them, and of every triangle of a list with the
/// tile's corner and the planes that were shaded for it; a tile of 8 lanes has two halves and tells twice.
struct ScalarObserver {
  void (*fragment)(void* context, const ScalarFragment& fragment) = nullptr;
  void (*triangle)(void* context, std::int32_t x0, std::int32_t y0, std::uint32_t triangle, int planesShaded,
                   bool hidden) = nullptr;
  void* context = nullptr;
};

/// `lanes` is 8 (a tile in two halves) or 16; `fused` rounds sums of products as the targets with fused arithmetic do.
void ScalarTileKernel(const KernelFrameArgs* args, std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1,
                      const std::uint32_t* entries, std::int32_t entryCount, float* hizCell, int lanes, bool fused,
                      ScalarTrace* trace = nullptr, const ScalarObserver* observer = nullptr);

}  // namespace tlr2::judge
