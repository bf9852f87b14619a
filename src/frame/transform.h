// Vertex arithmetic: object space to clip space, and clipping against the six planes.
#pragma once

#include <cstdint>

#include "records/packet.h"

namespace tlr2 {

inline constexpr int kClipOutputLimit = 12;

/// `mvp` column-major; the position's w is 1.
void TransformPoint(const float mvp[16], const float position[3], float out[4]) noexcept;
/// Planes: 0 left, 1 right, 2 bottom, 3 top, 4 near, 5 far; any other gives 0. Inside is >= 0.
float ClipDistance(const ClipVertex& vertex, std::uint8_t plane) noexcept;
/// Clips a triangle; returns the polygon's vertex count, 0 when fewer than 3 remain. `out` has room for 12.
std::int32_t ClipTriangle(const ClipVertex in[3], ClipVertex* out) noexcept;

}  // namespace tlr2
