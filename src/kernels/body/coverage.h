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
using PartBarycentrics = BarycentricsOf<FloatsPart>;

LANE_FN PartBarycentrics PartOf(const Barycentrics& w, int part) {
  return {{PartOf(w.b[0], part), PartOf(w.b[1], part), PartOf(w.b[2], part)}};
}

LANE_FN void SetPart(Barycentrics& w, int part, const PartBarycentrics& value) {
  for (int i = 0; i < 3; ++i) SetPart(w.b[i], part, value.b[i]);
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

/// Of the rows from `y0` on, `rows` of them.
LANE_FN TileCorners CornersOf(std::int32_t x0, std::int32_t y0, std::int32_t rows) {
  const Quad left = SplatQuad(static_cast<float>(x0) + 0.5f), right = SplatQuad(static_cast<float>(x0 + 7) + 0.5f);
  const Quad top = SplatQuad(static_cast<float>(y0) + 0.5f),
             bottom = SplatQuad(static_cast<float>(y0 + rows - 1) + 0.5f);
  return {left, right, top, bottom, CornerColumns(left, right), CornerRows(top, bottom)};
}

/// Three vertices' values in all lanes, or three edges'.
struct Vertices {
  FloatsPart v[3];
};
LANE_FN Vertices SplatVertices(float v0, float v1, float v2) { return {{Splat(v0), Splat(v1), Splat(v2)}}; }

/// Edge values of one part of a plane: edges 0 to 1, 1 to 2, 2 to 0.
struct EdgeValues {
  FloatsPart e[3];
};

/// Calls `visit(plane, part, values)` for all parts of all planes. Each product and difference is the one of the full
/// evaluation; planes only share those of their columns, while these are in registers, and so may parts.
template <typename Visit>
LANE_FN void VisitEdgeValues(const Centres& centres, const Edges& edges, Visit visit) {
  const Vertices fromY = SplatVertices(edges.y[0], edges.y[1], edges.y[2]);
  const Vertices run = SplatVertices(edges.dx[0], edges.dx[1], edges.dx[2]);
  for (int right = 0; right < 2; ++right) {
    EdgeValues product, values;
    for (int part = 0; part < kParts; ++part) {
      if (part == 0 || !kPartsShareColumns) {
        for (int i = 0; i < 3; ++i) product.e[i] = EdgeProductY(edges, i, PartOf(centres.x[right], part));
      }
      for (int lower = 0; lower < 2; ++lower) {
        const FloatsPart y = PartOf(centres.y[lower], part);
        for (int i = 0; i < 3; ++i) values.e[i] = MulSub(run.v[i], Sub(y, fromY.v[i]), product.e[i]);
        visit(2 * lower + right, part, values);
      }
    }
  }
}

LANE_FN MaskPart Inside(bool positive, const Vertices& bias, const EdgeValues& values) {
  const FloatsPart zero = Splat(0.0f);
  FloatsPart biased[3];
  for (int i = 0; i < 3; ++i) biased[i] = Add(values.e[i], bias.v[i]);
  if (positive) {
    return And(And(LessEqual(zero, biased[0]), LessEqual(zero, biased[1])), LessEqual(zero, biased[2]));
  }
  return And(And(LessEqual(biased[0], zero), LessEqual(biased[1], zero)), LessEqual(biased[2], zero));
}

/// The barycentrics before they are scaled by 1/area: vertex i has the value of the edge that it does not lie on.
LANE_FN PartBarycentrics Unscaled(const EdgeValues& values) { return {{values.e[1], values.e[2], values.e[0]}}; }
LANE_FN PartBarycentrics Scaled(const PartBarycentrics& w, FloatsPart inverseArea) {
  return {{Mul(w.b[0], inverseArea), Mul(w.b[1], inverseArea), Mul(w.b[2], inverseArea)}};
}

}  // namespace
}  // namespace tlr2
