// Coverage of the four planes, and the barycentrics of all their lanes.
#pragma once

namespace tlr2 {
namespace {

/// One plane of one triangle, or a part of it: b[i] weighs vertex i. Dead lanes hold extrapolated values.
template <typename Lanes>
struct BarycentricsOf {
  Lanes b[3];
};
using Barycentrics = BarycentricsOf<Floats>;

LANE_FN BarycentricsOf<FloatsPart> PartOf(const Barycentrics& w, int part) {
  return {{PartOf(w.b[0], part), PartOf(w.b[1], part), PartOf(w.b[2], part)}};
}

/// Pixel centres of the step: columns of the left and right planes, rows of the upper and lower ones.
struct Centres {
  Floats x[2], y[2];
};

LANE_FN Centres TileCentres(const Tile& tile) {
  Centres c;
  for (int i = 0; i < 2; ++i) {
    c.x[i] = Add(ToFloats(Add(Splat(tile.x0 + i), LaneColumns())), Splat(0.5f));
    c.y[i] = Add(ToFloats(Add(Splat(tile.y0 + i), LaneRows())), Splat(0.5f));
  }
  return c;
}

LANE_FN Mask InsideEdge(bool positive, Floats biased) {
  const Floats zero = Splat(0.0f);
  return positive ? LessEqual(zero, biased) : LessEqual(biased, zero);
}

LANE_FN TileCorners CornersOf(const Tile& tile) {
  return {SplatQuad(static_cast<float>(tile.x0) + 0.5f), SplatQuad(static_cast<float>(tile.x0 + 7) + 0.5f),
          SplatQuad(static_cast<float>(tile.y0) + 0.5f), SplatQuad(static_cast<float>(tile.y0 + kStepRows - 1) + 0.5f)};
}

/// Masks and barycentrics of the four planes. Returns false, with `weights` unset, where no lane is covered.
LANE_FN bool CoverTile(const Tile& tile, const Centres& centres, const Edges& edges, bool everywhere,
                       Mask (&covered)[kPlanes], Barycentrics (&weights)[kPlanes]) {
  Floats value[kPlanes][3];
  for (int i = 0; i < 3; ++i) {
    // Each product and difference is the one of the full evaluation; planes only share them.
    const Floats left = EdgeProductY(edges, i, centres.x[0]), right = EdgeProductY(edges, i, centres.x[1]);
    const Floats upper = Sub(centres.y[0], Splat(edges.y[i])), lower = Sub(centres.y[1], Splat(edges.y[i]));
    value[0][i] = EdgeValue(edges, i, upper, left);
    value[1][i] = EdgeValue(edges, i, upper, right);
    value[2][i] = EdgeValue(edges, i, lower, left);
    value[3][i] = EdgeValue(edges, i, lower, right);
  }
  if (everywhere) {
    for (int p = 0; p < kPlanes; ++p) covered[p] = tile.whole ? AllLanes() : tile.inBounds[p];
  } else {
    for (int p = 0; p < kPlanes; ++p) {
      Mask m = InsideEdge(edges.positive, Add(value[p][0], Splat(edges.bias[0])));
      m = And(m, InsideEdge(edges.positive, Add(value[p][1], Splat(edges.bias[1]))));
      m = And(m, InsideEdge(edges.positive, Add(value[p][2], Splat(edges.bias[2]))));
      covered[p] = tile.whole ? m : And(m, tile.inBounds[p]);
    }
    if (!Any(Or(Or(covered[0], covered[1]), Or(covered[2], covered[3])))) return false;
  }
  const Floats inverse = Splat(edges.inverseArea);
  for (int p = 0; p < kPlanes; ++p) {
    weights[p].b[0] = Mul(value[p][1], inverse);
    weights[p].b[1] = Mul(value[p][2], inverse);
    weights[p].b[2] = Mul(value[p][0], inverse);
  }
  return true;
}

}  // namespace
}  // namespace tlr2
