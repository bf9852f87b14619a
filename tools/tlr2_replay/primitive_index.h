// From a frame's triangles back to the records that made them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "api/state/command_stream.h"

namespace tlr2::tool {

/// A primitive of a stream that reaches the renderer.
struct DrawnPrimitive {
  std::uint32_t primitive;               // as `calls` counts them; kNone for one that began before
  std::uint32_t beginRecord, endRecord;  // records of the frame, from 0
  std::uint32_t mode;
  std::uint32_t vertices;
  std::uint32_t firstTriangle = 0, triangles = 0;
};

/// Those of a stream, in order; `openMode` is the primitive mode that the frame begins with.
std::vector<DrawnPrimitive> DrawnPrimitives(const ByteVector& stream, std::uint32_t openMode);
/// Puts in how many triangles each made. False when the counts are those of another stream.
bool CountTriangles(std::vector<DrawnPrimitive>& primitives, const std::vector<std::uint32_t>& counts);
/// "primitive 3", or "the open primitive" for one that began before the frame.
std::string PrimitiveName(std::uint32_t primitive);
/// The primitive of a triangle; null when there is none.
const DrawnPrimitive* PrimitiveOfTriangle(const std::vector<DrawnPrimitive>& primitives,
                                          std::uint32_t triangle) noexcept;

}  // namespace tlr2::tool
