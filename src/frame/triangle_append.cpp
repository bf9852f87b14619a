// The one-record form of the append to the frame's triangles.
#include "base/convert.h"
#include "frame/emission.h"
#include "frame/triangle_setup.h"
#include "settings/profiler.h"

namespace tlr2 {
namespace {

constexpr std::size_t kPublishInterval = 64;

}  // namespace

void EmitAndBinTriangle(const TriangleRecord& triangle) {
  const ScopeTimer scope("tlr2::EmitAndBinTriangle");
  DriverState& state = DriverStateInstance();
  if (state.macroCols < 1 || state.macroRows < 1) return;

  const auto least = [](const float v[3]) { return FloorToInt(LesserOf(LesserOf(v[0], v[1]), v[2])); };
  const auto greatest = [](const float v[3]) { return CeilToInt(GreaterOf(GreaterOf(v[0], v[1]), v[2])); };
  std::int32_t x0 = least(triangle.x), x1 = greatest(triangle.x);
  std::int32_t y0 = least(triangle.y), y1 = greatest(triangle.y);
  if (x0 < 0) x0 = 0;
  if (y0 < 0) y0 = 0;
  if (x1 > state.fbWidth) x1 = state.fbWidth;
  if (y1 > state.fbHeight) y1 = state.fbHeight;
  if (x0 >= x1 || y0 >= y1) return;

  state.triangles.push_back(triangle);
  if (state.triangles.size() % kPublishInterval == 0) {
    state.publishedTriangleCount = static_cast<std::uint32_t>(state.triangles.size());
  }
}

}  // namespace tlr2
