// The hierarchical depth bound of a tile: occluders lower it before anything is drawn, triangles behind it are skipped.
#pragma once

namespace tlr2 {
namespace {

/// State that the bound understands: nothing but an unblended, untested "less or equal".
LANE_FN bool UsesBound(const TriangleRecord& t) {
  return t.depthTest != 0 && t.depthFunc == 2 && t.blendMode == 0 && t.alphaTest == 0;
}

/// All three edges, without bias and with every product rounded, on one side at a pixel centre.
LANE_FN bool CornerInside(const TriangleRecord& t, bool positive, float cx, float cy) {
  for (int i = 0; i < 3; ++i) {
    const int j = i == 2 ? 0 : i + 1;
    const float e = (t.x[j] - t.x[i]) * (cy - t.y[i]) - (t.y[j] - t.y[i]) * (cx - t.x[i]);
    if (!(positive ? e >= 0.0f : e <= 0.0f)) return false;
  }
  return true;
}

/// The outermost pixel centres within bounds.
struct BoundCorners {
  float left, top, right, bottom;
};

LANE_FN bool CoversTile(const TriangleRecord& t, const BoundCorners& at) {
  // The two products are compared, not their difference: rounding must not decide otherwise here.
  const bool positive = (t.x[1] - t.x[0]) * (t.y[2] - t.y[0]) > (t.y[1] - t.y[0]) * (t.x[2] - t.x[0]);
  if (!CornerInside(t, positive, at.left, at.top)) return false;  // where most end
  const Quad x = LoadQuad(t.x), y = LoadQuad(t.y), zero = SplatQuad(0.0f);
  const Quad dx = Sub(Rotate(x), x), dy = Sub(Rotate(y), y);
  const Quad left = Mul(dy, Sub(SplatQuad(at.left), x)), right = Mul(dy, Sub(SplatQuad(at.right), x));
  const Quad top = Mul(dx, Sub(SplatQuad(at.top), y)), bottom = Mul(dx, Sub(SplatQuad(at.bottom), y));
  const Quad a = Sub(top, right), b = Sub(bottom, left), c = Sub(bottom, right);
  const auto inside = [=](Quad e)
                          __attribute__((always_inline)) { return positive ? LessEqual(zero, e) : LessEqual(e, zero); };
  return EdgeBits(And(And(inside(a), inside(b)), inside(c))) == 7;
}

/// The bound after the whole list: an occluder hides earlier triangles too.
LANE_FN float ScanBound(const TriangleRecord* triangles, const std::uint32_t* entries, std::int32_t entryCount,
                        float bound, std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1) {
  const BoundCorners corners = {static_cast<float>(x0) + 0.5f, static_cast<float>(y0) + 0.5f,
                                static_cast<float>(x1 - 1) + 0.5f, static_cast<float>(y1 - 1) + 0.5f};
  for (std::int32_t i = 0; i < entryCount; ++i) {
    const TriangleRecord& t = triangles[entries[i]];
    if (!UsesBound(t) || t.depthWrite == 0 || !(t.zMax < bound)) continue;
    if (CoversTile(t, corners)) bound = t.zMax;
  }
  return bound;
}

LANE_FN bool BehindBound(const TriangleRecord& t, float bound) { return t.zMin > bound && UsesBound(t); }

}  // namespace
}  // namespace tlr2
