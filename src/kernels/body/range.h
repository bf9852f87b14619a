// Between which depths a triangle lies in a step, and whether that alone decides the depth test of all pixels.
#pragma once

namespace tlr2 {
namespace {

/// Depths of all pixels of a step that the triangle holds, and no tighter than rounding allows: the plane through the
/// triangle is greatest and least at corner centres, up to the roundings here and in the pixels' own depths, each at
/// most 8 units in the last place of the sum of all terms' magnitudes. Comparing with it says nothing where one of the
/// values is too great or no number.
[[gnu::noinline]] DepthRange RangeOf(const TriangleRecord& t, const TileCorners& corners, const Edges& edges) {
  constexpr float kRounding = 0x1p-19f;   // 32 units in the last place, twice what can come together
  constexpr float kUnderflow = 0x1p-60f;  // far beyond what products may lose that are not normal numbers
  const Quad x = LoadQuad(edges.x), y = LoadQuad(edges.y), dx = LoadQuad(edges.dx), dy = LoadQuad(edges.dy);
  const Quad z = Opposite(LoadQuad(t.z));
  const Quad left = OnlyThree(Mul(dy, Sub(corners.left, x))), right = OnlyThree(Mul(dy, Sub(corners.right, x)));
  const Quad top = OnlyThree(Mul(dx, Sub(corners.top, y))), bottom = OnlyThree(Mul(dx, Sub(corners.bottom, y)));
  const Quad magnitudes =
      Mul(Add(Add(Max(Abs(left), Abs(right)), Max(Abs(top), Abs(bottom))), SplatQuad(kUnderflow)), Abs(z));
  // The sums of the products with rows, then those with columns, in pairs of the two sides.
  const Quad sides = Sums(Mul(top, z), Mul(bottom, z), Mul(left, z), Mul(right, z));
  const Quad greatest = Max(sides, SwapPairs(sides)), least = Min(sides, SwapPairs(sides));
  const float inverse = edges.inverseArea;
  const float one = (First(greatest) - Third(least)) * inverse, other = (First(least) - Third(greatest)) * inverse;
  const float margin =
      First(Sums(magnitudes, magnitudes, magnitudes, magnitudes)) * __builtin_fabsf(inverse) * kRounding + kUnderflow;
  return one < other ? DepthRange{one - margin, other + margin} : DepthRange{other - margin, one + margin};
}

/// Whether a triangle's depths can be told from those that are stored without looking at pixels: the test asks for an
/// order, and no edge is multiplied up.
LANE_FN bool HasRange(const TriangleRecord& t, const Edges& edges) {
  return t.depthTest != 0 && (t.depthFunc == 1 || t.depthFunc == 2) && __builtin_fabsf(edges.inverseArea) <= 1.0f;
}

/// A range that ends at infinity tells nothing: what overflowed may be the difference of two great products.
LANE_FN bool AllPass(const TriangleRecord& t, DepthRange range, DepthRange stored) {
  return (t.depthFunc == 1 ? range.high < stored.low : range.high <= stored.low) && Finite(range.high);
}
LANE_FN bool NonePasses(const TriangleRecord& t, DepthRange range, DepthRange stored) {
  return (t.depthFunc == 1 ? range.low >= stored.high : range.low > stored.high) && Finite(range.low);
}

/// Finds the range of the depths that are loaded.
[[gnu::noinline]] void FindLoadedRange(Tile& tile) {
  const Floats(&d)[kPlanes] = tile.depth;
  const Mask odd = Or(Or(NotEqual(d[0], d[0]), NotEqual(d[1], d[1])), Or(NotEqual(d[2], d[2]), NotEqual(d[3], d[3])));
  tile.rangeKnown = true;
  if (Any(odd)) {
    tile.range = {-__builtin_inff(), __builtin_inff()};
    return;
  }
  const Floats zero = Splat(0.0f);
  const Extremes e = ExtremesOf(Max(Max(d[0], d[1]), Max(d[2], d[3])));
  const Extremes n = ExtremesOf(Max(Max(Sub(zero, d[0]), Sub(zero, d[1])), Max(Sub(zero, d[2]), Sub(zero, d[3]))));
  tile.range = {-n.greatest, e.greatest};
}

}  // namespace
}  // namespace tlr2
