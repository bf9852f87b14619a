// Triangles that modulate texels and fill a whole tile: each unit's colour is packed while it is in registers, and what
// decides about sharing comes last. Planes that turn out to share are packed again from the colours of the others.
#pragma once

namespace tlr2 {
namespace {

/// The work on one triangle: units by their place in kAllUnits.
template <bool kOpaque, bool kConstant>
struct WholeTile {
  const Surface& surface;
  const Barycentrics (&weights)[kPlanes];
  Tile& tile;
  Samples samples;
  Ints words[kPlanes];
  Floats luminance[kPlanes];

  // Leaves what is to be shaded as it is.
  LANE_FN WholeTile(const Surface& of, const Barycentrics (&at)[kPlanes], Tile& to)
      : surface(of), weights(at), tile(to) {}

  LANE_FN PartColor ColorOfUnit(const PartColor& constant, const VertexColors& colors, int i) const {
    if constexpr (kConstant) return Combine(0, 0, constant, samples.texel[i]);
    const PartBarycentrics w = WeightsOf(weights, kAllUnits.unit[i]);
    return Combine(0, 0, InterpolateColor(colors, w, samples.w[i]), samples.texel[i]);
  }

  LANE_FN void SetWords(int plane, int part, PartColor c) {
    if constexpr (!kOpaque) c = Blend(surface.triangle->blendMode, c, UnpackBytes(PartOf(tile.color[plane], part)));
    SetPart(words[plane], part, PackBytes(c.r, c.g, c.b, c.a));
  }

  /// The texels of the first planes in the order in which planes are shaded, `planes` of them.
  LANE_FN void SampleFirst(int planes) {
    const UnitList list = {kAllUnits.unit, planes * kParts};
    FindCoordinates(surface, weights, list, samples);
    SampleTexture(*surface.texture, surface.triangle->filterMode, list.count, samples);
  }

  /// The plane that stands at `place` in that order.
  [[gnu::noinline]] void ShadeNext(const PartColor& constant, const VertexColors& colors, int place) {
    const UnitList list = {kAllUnits.unit + place * kParts, kParts};
    Samples next;
    FindCoordinates(surface, weights, list, next);
    SampleTexture(*surface.texture, surface.triangle->filterMode, list.count, next);
    for (int part = 0; part < kParts; ++part) {
      samples.w[place * kParts + part] = next.w[part];
      samples.texel[place * kParts + part] = next.texel[part];
      Finish(constant, colors, place * kParts + part);
    }
  }

  LANE_FN void Finish(const PartColor& constant, const VertexColors& colors, int i) {
    const Unit unit = kAllUnits.unit[i];
    const PartColor c = ColorOfUnit(constant, colors, i);
    SetPart(luminance[unit.plane], unit.part, Luminance(c));
    SetWords(unit.plane, unit.part, c);
  }

  LANE_FN void Store() {
    for (int p = 0; p < kPlanes; ++p) tile.color[p] = words[p];
  }
};

/// Draws the triangle, `ahead` planes being shaded at once, at least two. Returns how many it came to shade.
template <bool kOpaque, bool kConstant>
[[gnu::noinline]] int DrawWhole(const Surface& surface, const Barycentrics (&weights)[kPlanes], int ahead, Tile& tile) {
  WholeTile<kOpaque, kConstant> whole(surface, weights, tile);
  whole.SampleFirst(ahead);
  // After the calls, over which no spread value stays in a register.
  PartColor constant;
  VertexColors colors;
  if constexpr (kConstant) {
    constant = ConstantColor(surface);
  } else {
    colors = SplatColors(surface);
  }
  const auto color = [&](int place, int part) __attribute__((always_inline)) {  // by the place in the shading's order
    return whole.ColorOfUnit(constant, colors, place * kParts + part);
  };
  if constexpr (kParts == 1) {  // few enough to be written out, with their places known
    whole.Finish(constant, colors, 0);
    whole.Finish(constant, colors, 1);
    if (ahead > 2) whole.Finish(constant, colors, 2);
    if (ahead > 3) whole.Finish(constant, colors, 3);
  } else {
    for (int i = 0; i < ahead * kParts; ++i) whole.Finish(constant, colors, i);
  }
  if (StatisticBelow(whole.luminance[0], kRootAll, kShareAll)) {
    for (int part = 0; part < kParts; ++part) {
      const PartColor c = color(0, part);
      for (int p = 1; p < kPlanes; ++p) whole.SetWords(p, part, c);
    }
    return whole.Store(), 1;
  }
  if (StatisticBelow(whole.luminance[3], kRootDiagonal, kShareDiagonal)) {
    for (int part = 0; part < kParts; ++part) {
      const PartColor c = Average(color(0, part), color(1, part));
      whole.SetWords(1, part, c);
      whole.SetWords(2, part, c);
    }
    return whole.Store(), 2;
  }
  if (ahead < 3) whole.ShadeNext(constant, colors, 2);
  if (StatisticBelow(whole.luminance[2], kRootThree, kShareThree)) {
    for (int part = 0; part < kParts; ++part) {
      whole.SetWords(1, part, Average(color(0, part), color(1, part), color(2, part)));
    }
    return whole.Store(), 3;
  }
  if (ahead < 4) whole.ShadeNext(constant, colors, 3);
  return whole.Store(), 4;
}

}  // namespace
}  // namespace tlr2
