// A triangle's attributes over w, prepared once for a tile, and their perspective-correct values in a plane.
#pragma once

namespace tlr2 {
namespace {

struct Attribute {
  float overW[3];
};

/// What shading needs of a triangle.
struct Surface {
  const TriangleRecord* triangle;
  const TextureCacheEntry* texture;  // null for none
  bool constantColor;
  float color[4];        // red, green, blue, alpha of all lanes, where constant
  Attribute channel[4];  // otherwise
  Attribute s, t;
};

LANE_FN float ByteAsFloat(std::uint32_t color, int shift) {
  return static_cast<float>(static_cast<std::int32_t>(color >> shift & 0xFF));
}
constexpr int kChannelShift[4] = {16, 8, 0, 24};

LANE_FN void SetUpSurface(const KernelFrameArgs& args, const TriangleRecord& t, Surface& surface) {
  surface.triangle = &t;
  surface.texture = nullptr;
  const bool indexed = t.textureIndex < args.textureCacheCount;
  if (indexed) {
    const TextureCacheEntry& entry = args.textureCache[t.textureIndex];
    if (entry.width > 0 && entry.height > 0 && entry.texels[0] != 0) surface.texture = &entry;
  }
  // The index alone decides for the replacing environment: with an empty entry the first colour shows flat.
  surface.constantColor = (t.color[0] == t.color[1] && t.color[1] == t.color[2]) || (indexed && t.texEnvMode == 1);
  for (int c = 0; c < 4; ++c) {
    surface.color[c] = ByteAsFloat(t.color[0], kChannelShift[c]);
    if (surface.constantColor) continue;
    for (int i = 0; i < 3; ++i) {
      surface.channel[c].overW[i] = ByteAsFloat(t.color[i], kChannelShift[c]) * t.invW[i];
    }
  }
  if (surface.texture == nullptr) return;
  for (int i = 0; i < 3; ++i) {
    surface.s.overW[i] = t.s[i] * t.invW[i];
    surface.t.overW[i] = t.t[i] * t.invW[i];
  }
}

template <typename Lanes>
LANE_FN Lanes PerspectiveW(const Surface& surface, const BarycentricsOf<Lanes>& w) {
  const float* invW = surface.triangle->invW;
  const Lanes one = Splat(1.0f);
  return Div(one, Weigh(w, invW[0], invW[1], invW[2]));
}

template <typename Lanes>
LANE_FN Lanes Interpolate(const Attribute& a, const BarycentricsOf<Lanes>& w, Lanes perspectiveW) {
  return Mul(perspectiveW, Weigh(w, a.overW[0], a.overW[1], a.overW[2]));
}

}  // namespace
}  // namespace tlr2
