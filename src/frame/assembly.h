// Primitive assembly: which vertices make which triangle, in the order that the face test and the kernels rely on.
#pragma once

#include <cstdint>

#include "base/gl.h"

namespace tlr2 {

/// Triangles that `vertexCount` vertices of `mode` assemble to, before clipping. Points and lines: 0.
inline std::uint32_t AssembledTriangleCount(std::uint32_t mode, std::uint32_t vertexCount) noexcept {
  if (vertexCount < 3) return 0;
  switch (mode) {
    case gl::kTriangles:
      return vertexCount / 3;
    case gl::kTriangleStrip:
    case gl::kTriangleFan:
    case gl::kPolygon:
      return vertexCount - 2;
    case gl::kQuads:
      return vertexCount / 4 * 2;
    case gl::kQuadStrip:
      return (vertexCount - 2) / 2 * 2;
    default:
      return 0;
  }
}

/// Calls `emit(a, b, c)` with the vertex indices of each triangle. Polygons are fans, with no check of convexity.
template <typename Emit>
inline void ForEachAssembledTriangle(std::uint32_t mode, std::uint32_t n, Emit&& emit) {
  if (n < 3) return;
  switch (mode) {
    case gl::kTriangles:
      for (std::uint32_t i = 0; i + 2 < n; i += 3) emit(i, i + 1, i + 2);
      break;
    case gl::kTriangleStrip:
      for (std::uint32_t i = 0; i + 2 < n; ++i) {
        const std::uint32_t odd = i & 1u;  // swaps the first two, so that the whole strip has one winding
        emit(i + odd, i + 1 - odd, i + 2);
      }
      break;
    case gl::kTriangleFan:
    case gl::kPolygon:
      for (std::uint32_t i = 1; i + 1 < n; ++i) emit(0u, i, i + 1);
      break;
    case gl::kQuads:
      for (std::uint32_t i = 0; i + 3 < n; i += 4) {
        emit(i, i + 1, i + 2);
        emit(i, i + 2, i + 3);
      }
      break;
    case gl::kQuadStrip:
      for (std::uint32_t i = 0; i + 3 < n; i += 2) {
        emit(i, i + 1, i + 3);
        emit(i, i + 3, i + 2);
      }
      break;
    default:
      break;
  }
}

}  // namespace tlr2
