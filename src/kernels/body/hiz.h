// The hierarchical depth bound of a tile: occluders lower it before anything is drawn, triangles behind it are skipped.
#pragma once

namespace tlr2 {
namespace {

/// State that the bound understands: nothing but an unblended, untested "less or equal".
LANE_FN bool UsesBound(const TriangleRecord& t) {
  return t.depthTest != 0 && t.depthFunc == 2 && t.blendMode == 0 && t.alphaTest == 0;
}

/// The outermost pixel centres within bounds.
struct BoundCorners {
  Quad left, top, right, bottom;
};

/// Whether all four corners lie on the inner side of all three edges, without bias and with every product rounded.
LANE_FN bool CoversTile(const TriangleRecord& t, const BoundCorners& at) {
  const Quad x = LoadQuad(t.x), y = LoadQuad(t.y), zero = SplatQuad(0.0f);
  const Quad dx = Sub(Rotate(x), x), dy = Sub(Rotate(y), y);
  // The two products are compared, not their difference: rounding must not decide otherwise here.
  const bool positive = First(dx) * Third(dy) < First(dy) * Third(dx);
  const Quad mirror = positive ? zero : SplatQuad(-0.0f);
  const Quad left = Mul(dy, Sub(at.left, x)), right = Mul(dy, Sub(at.right, x));
  const Quad top = Mul(dx, Sub(at.top, y)), bottom = Mul(dx, Sub(at.bottom, y));
  const auto inside = [=](Quad row, Quad column)
                          __attribute__((always_inline)) { return LessEqual(zero, Xor(Sub(row, column), mirror)); };
  return EdgeBits(And(And(inside(top, left), inside(top, right)), And(inside(bottom, left), inside(bottom, right)))) ==
         7;
}

/// What a look over the whole list finds before anything is drawn.
struct ListScan {
  float bound;  // after the whole list: an occluder hides earlier triangles too
  /// The last two places where a triangle that tests for "less" seems to be nearer than the ones before it; 0 for none.
  std::int32_t nearest, nextNearest;
};

[[gnu::noinline]] ListScan ScanList(const TriangleRecord* triangles, const std::uint32_t* entries,
                                    std::int32_t entryCount, float bound, std::int32_t x0, std::int32_t y0,
                                    std::int32_t x1, std::int32_t y1) {
  const BoundCorners corners = {SplatQuad(static_cast<float>(x0) + 0.5f), SplatQuad(static_cast<float>(y0) + 0.5f),
                                SplatQuad(static_cast<float>(x1 - 1) + 0.5f),
                                SplatQuad(static_cast<float>(y1 - 1) + 0.5f)};
  std::int32_t nearest = 0, nextNearest = 0;
  float depth = __builtin_inff();  // the least of such triangles so far
  for (std::int32_t i = 0; i < entryCount; ++i) {
    const TriangleRecord& t = triangles[entries[i]];
    if (t.depthFunc == 2) {
      if (t.zMax < bound && UsesBound(t) && t.depthWrite != 0 && CoversTile(t, corners)) bound = t.zMax;
    } else if (t.depthFunc == 1) {
      if (t.zMax < depth) {
        nextNearest = nearest;
        nearest = i;
      }
      depth = t.zMin < depth ? t.zMin : depth;
    }
  }
  return {bound, nearest, nextNearest};
}

LANE_FN bool BehindBound(const TriangleRecord& t, float bound) { return t.zMin > bound && UsesBound(t); }

}  // namespace
}  // namespace tlr2
