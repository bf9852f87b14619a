// A triangle's edge functions: their constants, biases and the doubled area.
#pragma once

namespace tlr2 {
namespace {

/// Edges 0 to 1, 1 to 2, 2 to 0, each with the vertex it starts from; the fourth elements mean nothing.
struct Edges {
  float x[4], y[4];
  float dx[4], dy[4];
  float bias[4];
  bool positive;  // the area's sign; the pixel test is mirrored otherwise
  float inverseArea;
};

constexpr float kEdgeBias = 0.00390625f;  // 1/256, in units of the edge function

/// The tile's outermost pixel centres.
struct TileCorners {
  Quad left, right, top, bottom;
  Quads columns, rows;  // the same for all four corners
};

enum class Place { kNowhere, kPartly, kEverywhere };

LANE_FN bool Finite(float v) { return __builtin_fabsf(v) <= 0x1.fffffep+127f; }

/// A vertex at infinity, or none at all, and an area that overflowed to none yield no pixel, though some comparisons
/// would pass. A finite area has only finite vertices.
LANE_FN bool FiniteVertices(const TriangleRecord& t, float area) {
  if (__builtin_expect(Finite(area), 1)) return true;
  return area == area && Finite(t.x[0]) && Finite(t.x[1]) && Finite(t.x[2]) && Finite(t.y[0]) && Finite(t.y[1]) &&
         Finite(t.y[2]);
}

/// The biased edge values at the corner centres, mirrored so that inside is never below 0. Products, differences and
/// fused products round monotonically, so these bound the values at all centres between them: outside one edge at four
/// corners is outside at every pixel, inside all edges at four corners inside at every pixel.
LANE_FN Quads CornerValues(const TileCorners& corners, Quad x, Quad y, Quad dx, Quad dy, Quad bias, Quad mirror) {
  const Quads product = Mul(Each(dy), Sub(corners.columns, Each(x)));
  const Quads value = MulSub(Each(dx), Sub(corners.rows, Each(y)), product);
  return Xor(Add(value, Each(bias)), Each(mirror));
}

/// How the triangle lies to a part of the tile for which its edges were set up.
[[gnu::noinline]] Place PlaceAt(const TileCorners& corners, const Edges& edges) {
  const Quad mirror = edges.positive ? SplatQuad(0.0f) : SplatQuad(-0.0f);
  const Quads values = CornerValues(corners, LoadQuad(edges.x), LoadQuad(edges.y), LoadQuad(edges.dx),
                                    LoadQuad(edges.dy), LoadQuad(edges.bias), mirror);
  if (OneBelowAtAll(values)) return Place::kNowhere;
  return NotBelowAtAny(values) ? Place::kEverywhere : Place::kPartly;
}

/// Sets the edges up and tells how the triangle lies to the tile.
///
/// Not inlined, so that `edges` lies in memory: its values are then spread over the lanes as they are loaded, where the
/// compiler would otherwise keep more spread copies than there are registers.
[[gnu::noinline]] Place SetUpEdges(const TriangleRecord& triangle, const TileCorners& corners, Edges& edges) {
  const Quad x = LoadQuad(triangle.x), y = LoadQuad(triangle.y);
  const Quad dx = Sub(Rotate(x), x), dy = Sub(Rotate(y), y);
  StoreQuad(edges.dx, dx);
  StoreQuad(edges.dy, dy);
  // Of the differences that the area is made of, two are here with the other sign, which changes no rounding.
  const float area = -MulSub(edges.dx[0], edges.dy[2], edges.dy[0] * edges.dx[2]);
  if (area == 0.0f || !FiniteVertices(triangle, area)) return Place::kNowhere;
  edges.positive = area > 0.0f;

  // The inclusive edges of either winding: the mirrored test makes both get the bias of the other's sign.
  const Quad zero = SplatQuad(0.0f), signBit = SplatQuad(-0.0f);
  const Quad mirror = edges.positive ? zero : signBit;
  const Quad rightward = And(Equal(dy, zero), Less(zero, Xor(dx, mirror)));
  const Quad inclusive = Or(Less(Xor(dy, mirror), zero), rightward);
  // +1/256 where inclusive on the mirrored side, else -1/256; then mirrored back.
  const Quad bias = Xor(And(inclusive, signBit), Xor(SplatQuad(-kEdgeBias), mirror));
  StoreQuad(edges.bias, bias);

  const Quads mirrored = CornerValues(corners, x, y, dx, dy, bias, mirror);
  if (OneBelowAtAll(mirrored)) return Place::kNowhere;
  StoreQuad(edges.x, x);
  StoreQuad(edges.y, y);
  edges.inverseArea = 1.0f / area;
  return NotBelowAtAny(mirrored) ? Place::kEverywhere : Place::kPartly;
}

/// The part of edge `i` that depends on the columns `px`: rounded first, then the product with dx takes part.
LANE_FN FloatsPart EdgeProductY(const Edges& edges, int i, FloatsPart px) {
  return Mul(Splat(edges.dy[i]), Sub(px, Splat(edges.x[i])));
}

}  // namespace
}  // namespace tlr2
