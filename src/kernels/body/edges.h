// A triangle's edge functions: their constants, biases and the doubled area.
#pragma once

namespace tlr2 {
namespace {

/// Edges 0 to 1, 1 to 2, 2 to 0, each with the vertex it starts from.
struct Edges {
  float x[3], y[3];
  float dx[3], dy[3];
  float bias[3];
  bool positive;  // the area's sign; the pixel test is mirrored otherwise
  float inverseArea;
};

constexpr float kEdgeBias = 0.00390625f;  // 1/256, in units of the edge function

LANE_FN bool Finite(float v) { return __builtin_fabsf(v) <= 0x1.fffffep+127f; }

/// A vertex at infinity, or none at all, yields no pixel, though some comparisons would pass. A finite area has only
/// finite vertices.
LANE_FN bool FiniteVertices(const TriangleRecord& t, float area) {
  if (__builtin_expect(Finite(area), 1)) return true;
  return Finite(t.x[0]) && Finite(t.x[1]) && Finite(t.x[2]) && Finite(t.y[0]) && Finite(t.y[1]) && Finite(t.y[2]);
}

/// Returns false where the triangle has no pixel anywhere: its area is exactly 0, or a vertex is not finite.
LANE_FN bool SetUpEdges(const TriangleRecord& triangle, Edges& edges) {
  for (int i = 0; i < 3; ++i) {
    const int j = i == 2 ? 0 : i + 1;
    edges.x[i] = triangle.x[i];
    edges.y[i] = triangle.y[i];
    edges.dx[i] = triangle.x[j] - triangle.x[i];
    edges.dy[i] = triangle.y[j] - triangle.y[i];
  }
  const float area = MulSub(edges.dx[0], triangle.y[2] - triangle.y[0], edges.dy[0] * (triangle.x[2] - triangle.x[0]));
  if (area == 0.0f || !FiniteVertices(triangle, area)) return false;
  edges.positive = area > 0.0f;
  edges.inverseArea = 1.0f / area;
  for (int i = 0; i < 3; ++i) {
    const float dx = edges.dx[i], dy = edges.dy[i];
    if (edges.positive) {
      edges.bias[i] = dy < 0.0f || (dy == 0.0f && dx > 0.0f) ? kEdgeBias : -kEdgeBias;
    } else {
      edges.bias[i] = dy > 0.0f || (dy == 0.0f && dx < 0.0f) ? -kEdgeBias : kEdgeBias;
    }
  }
  return true;
}

/// Edge `i` at columns `px` and rows `py`. The product with dy is rounded first, then the one with dx takes part.
LANE_FN Floats EdgeProductY(const Edges& edges, int i, Floats px) {
  return Mul(Splat(edges.dy[i]), Sub(px, Splat(edges.x[i])));
}
LANE_FN Floats EdgeValue(const Edges& edges, int i, Floats fromRow, Floats productY) {
  return MulSub(Splat(edges.dx[i]), fromRow, productY);
}

}  // namespace
}  // namespace tlr2
