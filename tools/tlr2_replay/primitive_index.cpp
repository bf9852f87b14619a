// The interpreter's rule for what becomes a packet, applied to the records alone.
#include "tlr2_replay/primitive_index.h"

#include <algorithm>

#include "tlr2_replay/console.h"
#include "tlr2_replay/record_text.h"

namespace tlr2::tool {

std::vector<DrawnPrimitive> DrawnPrimitives(const ByteVector& stream, std::uint32_t openMode) {
  constexpr std::uint32_t kLeastVertices = 3;
  std::vector<DrawnPrimitive> primitives;
  PrimitiveCounter counter;
  DrawnPrimitive open = {PrimitiveCounter::kNone, 0, 0, openMode, 0};
  for (RecordWalk walk(stream); walk.Next();) {
    const std::uint32_t primitive = counter.Of(walk);
    if (walk.Is(Cmd::SwapBuffers)) break;
    if (walk.Is(Cmd::Begin)) {
      open = {primitive, walk.index(), 0, walk.As<CmdBegin>().mode, 0};
    } else if (walk.Is(Cmd::Vertex2f) || walk.Is(Cmd::Vertex3f)) {
      ++open.vertices;
    } else if (walk.Is(Cmd::End)) {
      open.endRecord = walk.index();
      if (open.vertices >= kLeastVertices && open.mode != 0) primitives.push_back(open);
      open = {PrimitiveCounter::kNone, walk.index(), 0, 0, 0};
    }
  }
  return primitives;
}

bool CountTriangles(std::vector<DrawnPrimitive>& primitives, const std::vector<std::uint32_t>& counts) {
  std::uint32_t first = 0;
  for (std::size_t i = 0; i < primitives.size() && i < counts.size(); ++i) {
    primitives[i].firstTriangle = first;
    primitives[i].triangles = counts[i];
    first += counts[i];
  }
  return primitives.size() == counts.size();
}

std::string PrimitiveName(std::uint32_t primitive) {
  return primitive == PrimitiveCounter::kNone ? "the open primitive"
                                              : Format("primitive %u", static_cast<unsigned>(primitive));
}

const DrawnPrimitive* PrimitiveOfTriangle(const std::vector<DrawnPrimitive>& primitives,
                                          std::uint32_t triangle) noexcept {
  const auto after = std::upper_bound(
      primitives.begin(), primitives.end(), triangle,
      [](std::uint32_t value, const DrawnPrimitive& primitive) { return value < primitive.firstTriangle; });
  // Primitives without triangles share their neighbour's first one: the last at or before is the one that has it.
  for (auto at = after; at != primitives.begin();) {
    --at;
    if (triangle < at->firstTriangle + at->triangles) return &*at;
    if (at->triangles != 0) break;
  }
  return nullptr;
}

}  // namespace tlr2::tool
