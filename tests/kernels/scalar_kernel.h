// The tile kernel once more, as plain loops over lanes: what the vector kernels are held against. It is written from
// the rules of the picture alone and shares no line with the kernels' own source.
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

/// `lanes` is 8 (a tile in two halves) or 16; `fused` rounds sums of products as the targets with fused arithmetic do.
void ScalarTileKernel(const KernelFrameArgs* args, std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1,
                      const std::uint32_t* entries, std::int32_t entryCount, float* hizCell, int lanes, bool fused,
                      ScalarTrace* trace = nullptr);

}  // namespace tlr2::judge
