// Shading of parts of planes: coordinates, texels, then the fragment's colour, each for a whole list of them.
#pragma once

namespace tlr2 {
namespace {

/// Parts of a plane, a bit each.
using PartSet = unsigned;
constexpr PartSet kAllParts = (1u << kParts) - 1;

/// Parts with a live lane.
LANE_FN PartSet LiveParts(const Mask& live) {
  PartSet parts = 0;
  for (int i = 0; i < kParts; ++i) parts |= static_cast<PartSet>(Any(PartOf(live, i))) << i;
  return parts;
}

struct Unit {
  std::int32_t plane, part;
};
struct UnitList {
  const Unit* unit;
  int count;
};

/// All parts of all planes, in the order in which planes are shaded.
constexpr int kPlaneOrder[kPlanes] = {0, 3, 2, 1};
struct AllUnits {
  Unit unit[kUnits];
};
constexpr AllUnits ListAll() {
  AllUnits all = {};
  for (int i = 0; i < kUnits; ++i) all.unit[i] = {kPlaneOrder[i / kParts], i % kParts};
  return all;
}
constexpr AllUnits kAllUnits = ListAll();

/// A list of its own.
struct SomeUnits {
  Unit unit[kUnits + 1];  // one more is written than counts
  int count = 0;

  LANE_FN void Add(int plane, PartSet parts) {
    for (int i = 0; i < kParts; ++i) {
      unit[count] = {plane, i};
      count += static_cast<int>(parts >> i & 1);
    }
  }
  LANE_FN UnitList List() const { return {unit, count}; }
};

LANE_FN PartBarycentrics WeightsOf(const Barycentrics (&weights)[kPlanes], Unit unit) {
  return PartOf(weights[unit.plane], unit.part);
}

LANE_FN int CountOf(const UnitList& list) { return list.count; }
LANE_FN PartBarycentrics WeightsOf(const Barycentrics (&weights)[kPlanes], const UnitList& list, int i) {
  return WeightsOf(weights, list.unit[i]);
}

template <typename List>
[[gnu::noinline]] void FindCoordinates(const Surface& surface, const Barycentrics (&weights)[kPlanes], const List& list,
                                       Samples& samples) {
  const float* w = surface.triangle->invW;
  const Vertices invW = SplatVertices(w[0], w[1], w[2]);
  const FloatsPart one = Splat(1.0f);
  const Vertices s = SplatVertices(surface.s[0], surface.s[1], surface.s[2]);
  const Vertices t = SplatVertices(surface.t[0], surface.t[1], surface.t[2]);
  for (int i = 0; i < CountOf(list); ++i) {
    const PartBarycentrics b = WeightsOf(weights, list, i);
    const FloatsPart perspectiveW = Div(one, Weigh(b, invW));
    samples.w[i] = perspectiveW;
    samples.s[i] = Mul(perspectiveW, Weigh(b, s));
    samples.t[i] = Mul(perspectiveW, Weigh(b, t));
  }
}

LANE_FN void SetColor(Color (&slots)[kPlanes], Unit unit, const PartColor& c) {
  Color& slot = slots[unit.plane];
  SetPart(slot.r, unit.part, c.r);
  SetPart(slot.g, unit.part, c.g);
  SetPart(slot.b, unit.part, c.b);
  SetPart(slot.a, unit.part, c.a);
}

LANE_FN void SetColor(Color (&slots)[kPlanes], const UnitList& list, int i, const PartColor& c) {
  SetColor(slots, list.unit[i], c);
}

/// The vertices' channels over w in all lanes.
struct VertexColors {
  Vertices r, g, b, a;
};
LANE_FN VertexColors SplatColors(const Surface& surface) {
  const auto channel = [&](int byte) __attribute__((always_inline)) {
    return SplatVertices(surface.overW[0][byte], surface.overW[1][byte], surface.overW[2][byte]);
  };
  return {channel(2), channel(1), channel(0), channel(3)};
}

/// The colour of one part of a plane, as given by the vertices.
LANE_FN PartColor InterpolateColor(const VertexColors& c, const PartBarycentrics& w, FloatsPart perspectiveW) {
  return {Mul(perspectiveW, Weigh(w, c.r)), Mul(perspectiveW, Weigh(w, c.g)), Mul(perspectiveW, Weigh(w, c.b)),
          Mul(perspectiveW, Weigh(w, c.a))};
}

/// The textured colours from texels and fragments; modulation by itself.
template <typename List>
[[gnu::noinline]] void CombineTexels(const Surface& surface, const Barycentrics (&weights)[kPlanes], const List& list,
                                     const Samples& samples, Color (&slots)[kPlanes]) {
  const TriangleRecord& t = *surface.triangle;
  if (surface.constantColor) {
    const PartColor fragment = ConstantColor(surface);
    if (t.texEnvMode == 0) {
      for (int i = 0; i < CountOf(list); ++i) SetColor(slots, list, i, Combine(0, 0, fragment, samples.texel[i]));
      return;
    }
    for (int i = 0; i < CountOf(list); ++i) {
      SetColor(slots, list, i, Combine(t.texEnvMode, t.texEnvColor, fragment, samples.texel[i]));
    }
    return;
  }
  const VertexColors colors = SplatColors(surface);
  if (t.texEnvMode == 0) {
    for (int i = 0; i < CountOf(list); ++i) {
      const PartColor fragment = InterpolateColor(colors, WeightsOf(weights, list, i), samples.w[i]);
      SetColor(slots, list, i, Combine(0, 0, fragment, samples.texel[i]));
    }
    return;
  }
  for (int i = 0; i < CountOf(list); ++i) {
    const PartColor fragment = InterpolateColor(colors, WeightsOf(weights, list, i), samples.w[i]);
    SetColor(slots, list, i, Combine(t.texEnvMode, t.texEnvColor, fragment, samples.texel[i]));
  }
}

[[gnu::noinline]] void ShadeUntextured(const Surface& surface, const Barycentrics (&weights)[kPlanes],
                                       const UnitList& list, Color (&slots)[kPlanes]) {
  const float* w = surface.triangle->invW;
  const Vertices invW = SplatVertices(w[0], w[1], w[2]);
  const VertexColors colors = SplatColors(surface);
  const FloatsPart one = Splat(1.0f);
  for (int i = 0; i < list.count; ++i) {
    const PartBarycentrics b = WeightsOf(weights, list.unit[i]);
    SetColor(slots, list.unit[i], InterpolateColor(colors, b, Div(one, Weigh(b, invW))));
  }
}

/// For a surface that is not of one colour everywhere: the colours of the listed parts.
LANE_FN void Shade(const Surface& surface, const Barycentrics (&weights)[kPlanes], const UnitList& list,
                   Color (&slots)[kPlanes]) {
  if (surface.texture == nullptr) return ShadeUntextured(surface, weights, list, slots);
  Samples samples;
  FindCoordinates(surface, weights, list, samples);
  SampleTexture(*surface.texture, surface.triangle->filterMode, list.count, samples);
  CombineTexels(surface, weights, list, samples, slots);
}

}  // namespace
}  // namespace tlr2
