// Opaque triangles whose planes most likely keep their own colours, all of them: each unit's colour is packed while it
// is in registers, and what decides comes last.
#pragma once

namespace tlr2 {
namespace {

/// Units as they stand in the tile if the planes keep their own colours, and what decides about that.
struct Finished {
  Ints words[kPlanes];
  Floats luminance[kPlanes];
};

/// Draws a triangle of one colour that modulates nearest texels. Returns whether the luminances of the needed parts
/// tell that no live lane takes its colour from another plane; where they do not, nothing is drawn.
[[gnu::noinline]] bool DrawOwn(const Surface& surface, const Barycentrics (&weights)[kPlanes],
                               const Fragments& fragments, Tile& tile) {
  PartSet parts[kPlanes] = {kAllParts, kAllParts, kAllParts, kAllParts};
  SomeUnits some;
  UnitList list = {kAllUnits.unit, kUnits};
  if (!fragments.allLive) {
    parts[1] = LiveParts(fragments.live[1]);
    parts[2] = parts[1] | LiveParts(fragments.live[2]);
    parts[3] = parts[2] | LiveParts(fragments.live[3]);
    parts[0] = parts[3] | LiveParts(fragments.live[0]);
    for (const int p : kPlaneOrder) some.Add(p, parts[p]);
    list = some.List();
  }
  if (parts[3] == 0) return false;
  Samples samples;
  FindCoordinates(surface, weights, list, samples);
  SampleNearest(*surface.texture, list.count, samples);
  Finished finished;
  const PartColor color = ConstantColor(surface);
  for (int i = 0; i < list.count; ++i) {
    const int plane = list.unit[i].plane, part = list.unit[i].part;
    const PartColor c = Combine(0, 0, color, samples.texel[i]);
    SetPart(finished.luminance[plane], part, Luminance(c));
    SetPart(finished.words[plane], part, PackBytes(c.r, c.g, c.b, c.a));
  }
  const auto varies = [&](int plane, float root, float square) __attribute__((always_inline)) {
    if (parts[plane] == kAllParts) return !StatisticBelow(finished.luminance[plane], root, square);
    return SpreadsBeyond(SpreadOf(PartOf(finished.luminance[plane], __builtin_ctz(parts[plane]))), root);
  };
  if (!varies(0, kRootAll, kShareAll)) return false;
  if (parts[2] != 0 && !varies(3, kRootDiagonal, kShareDiagonal)) return false;
  if (parts[1] != 0 && !varies(2, kRootThree, kShareThree)) return false;
  if (fragments.allLive) {
    for (int p = 0; p < kPlanes; ++p) tile.color[p] = finished.words[p];
    return true;
  }
  for (int p = 0; p < kPlanes; ++p) {
    for (int i = 0; i < kParts; ++i) {
      if ((parts[p] >> i & 1) == 0) continue;
      SetPart(tile.color[p], i,
              Select(PartOf(fragments.live[p], i), PartOf(finished.words[p], i), PartOf(tile.color[p], i)));
    }
  }
  return true;
}

}  // namespace
}  // namespace tlr2
