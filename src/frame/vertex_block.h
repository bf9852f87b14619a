// A run of a packet's vertices after transform and projection, array by array: each vertex is worked on once, however
// many triangles share it.
#pragma once

#include <cstdint>

#include "frame/triangle_setup.h"
#include "records/packet.h"

namespace tlr2 {

inline constexpr std::uint32_t kBlockVertices = 256;
inline constexpr std::uint32_t kBlockLanes = 4;
/// Bits of `outside`: 0 to 5 the planes that the vertex lies outside of, 6 a w that set-up rejects.
inline constexpr std::uint32_t kPlaneBits = 0x3Fu;
inline constexpr std::uint32_t kRejectedWBit = 0x40u;

struct VertexBlock {
  static constexpr std::uint32_t kSize = kBlockVertices + kBlockLanes;  // the last group of lanes may run over
  // Clip coordinates.
  alignas(16) float clipX[kSize];
  alignas(16) float clipY[kSize];
  alignas(16) float clipZ[kSize];
  alignas(16) float clipW[kSize];
  // Window coordinates; of no meaning where `outside` is not 0.
  alignas(16) float x[kSize];
  alignas(16) float y[kSize];
  alignas(16) float z[kSize];
  alignas(16) float invW[kSize];
  alignas(16) std::uint32_t outside[kSize];
};

/// Bits of `outside` that any, and that all, of some vertices have.
struct BlockSides {
  std::uint32_t any, all;

  /// Whether clipping leaves nothing of any triangle of these vertices: all lie outside of the first plane that any of
  /// them is outside of. Of a later plane that cannot be said, since clipping makes new vertices, and rounding may
  /// bring one back inside.
  bool AllClippedAway() const noexcept {
    const std::uint32_t planes = any & kPlaneBits;
    return (all & planes & (0u - planes)) != 0;
  }
};

/// Prepares `count` vertices (1 or more) into the block from index `at`. The arithmetic of each is that of
/// TransformPoint, ClipDistance and ProjectVertex, operation for operation.
BlockSides PrepareVertices(const NativePacket& packet, const ViewportMapping& map, const PacketVertex* vertices,
                           std::uint32_t count, std::uint32_t at, VertexBlock& block) noexcept;

}  // namespace tlr2
