// From a clipped triangle to its record, with what is constant over a packet prepared once.
#pragma once

#include <cstdint>

#include "base/gl.h"
#include "records/packet.h"
#include "settings/settings.h"

namespace tlr2 {

inline constexpr float kOpenZMin = -1e30f;  // with the hierarchical depth test off, every such test passes
inline constexpr float kOpenZMax = 1e30f;

/// The packet's viewport and depth range as floats.
struct ViewportMapping {
  float x, y, width, height;
  float depthNear, depthSpan;
};

inline ViewportMapping MakeViewportMapping(const NativePacket& packet) noexcept {
  return {static_cast<float>(packet.viewportX),
          static_cast<float>(packet.viewportY),
          static_cast<float>(packet.viewportW),
          static_cast<float>(packet.viewportH),
          packet.depthNear,
          packet.depthFar - packet.depthNear};
}

/// A vertex after the divide and the viewport mapping.
struct ScreenVertex {
  float x, y, z, invW;
};

/// Flips y to rows that run downward, within the viewport's own height: a viewport with a y moves the picture down.
inline ScreenVertex ProjectVertex(const ViewportMapping& map, float x, float y, float z, float w) noexcept {
  const float invW = 1.0f / w;
  const float ndcX = invW * x * 0.5f + 0.5f;
  const float ndcY = invW * y * 0.5f + 0.5f;
  const float ndcZ = invW * z * 0.5f + 0.5f;
  return {ndcX * map.width + map.x, (1.0f - ndcY) * map.height + map.y, ndcZ * map.depthSpan + map.depthNear, invW};
}

/// Whether face culling drops a triangle. Zero area is never front-facing; y runs downward, so counter-clockwise
/// triangles have a negative area.
inline bool CulledByFace(const NativePacket& packet, const ScreenVertex& v0, const ScreenVertex& v1,
                         const ScreenVertex& v2) noexcept {
  const float area = (v1.x - v0.x) * (v2.y - v0.y) - (v2.x - v0.x) * (v1.y - v0.y);
  const bool front = packet.frontFace == gl::kCcw ? area < 0.0f : area > 0.0f;
  switch (packet.cullMode) {
    case gl::kFront:
      return front;
    case gl::kBack:
      return !front;
    case gl::kFrontAndBack:
      return true;
    default:
      return false;
  }
}

inline float LesserOf(float a, float b) noexcept { return a < b ? a : b; }
inline float GreaterOf(float a, float b) noexcept { return a > b ? a : b; }

}  // namespace tlr2
