// Vertices and primitives on their way from the command stream to triangles.
#pragma once

#include <cstddef>
#include <cstdint>

#include "records/triangle.h"

namespace tlr2 {

/// A vertex as the calls gave it: object coordinates, packed colour, texture coordinate. 24 bytes.
struct PacketVertex {
  float x, y, z;
  std::uint32_t color;  // 0xAARRGGBB
  float s, t;
};
static_assert(sizeof(PacketVertex) == 24);

/// A vertex in clip coordinates. 28 bytes.
struct ClipVertex {
  float x, y, z, w;
  std::uint32_t color;  // 0xAARRGGBB
  float s, t;
};
static_assert(sizeof(ClipVertex) == 28);

/// One finished primitive with the draw state of its glEnd, by value. Sixty-one 32-bit words.
struct NativePacket {
  std::uint32_t serial;       // running number in the frame
  std::uint32_t mode;         // GL primitive mode
  std::uint32_t firstVertex;  // index into the frame's packet vertices
  std::uint32_t vertexCount;  // at least 3
  float mvp[16];              // projection times modelview, column-major
  std::int32_t viewportX, viewportY, viewportW, viewportH;
  float depthNear, depthFar;
  std::uint32_t cullEnabled;  // low byte: 0 or 1
  std::uint32_t cullMode;
  std::uint32_t frontFace;
  TriangleRecord triangleTemplate;
};
static_assert(sizeof(NativePacket) == 61 * 4);
static_assert(offsetof(NativePacket, mvp) == 4 * 4);
static_assert(offsetof(NativePacket, viewportX) == 20 * 4);
static_assert(offsetof(NativePacket, triangleTemplate) == 29 * 4);

}  // namespace tlr2
