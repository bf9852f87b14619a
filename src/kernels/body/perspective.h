// A triangle's attributes over w, prepared once for a tile, and their perspective-correct values in a plane.
#pragma once

namespace tlr2 {
namespace {

/// What shading needs of a triangle.
struct Surface {
  const TriangleRecord* triangle;
  const TextureCacheEntry* texture;  // null for none
  bool constantColor;
  float color[4];     // the bytes of all lanes from the lowest, where constant
  float overW[3][4];  // otherwise the bytes over w, a vertex each
  float s[4], t[4];   // over w; the last elements mean nothing
};

LANE_FN float ByteAsFloat(std::uint32_t color, int shift) {
  return static_cast<float>(static_cast<std::int32_t>(color >> shift & 0xFF));
}

/// Not inlined, so that the surface lies in memory, as the edges do.
[[gnu::noinline]] void SetUpSurface(const KernelFrameArgs& args, const TriangleRecord& t, Surface& surface) {
  surface.triangle = &t;
  surface.texture = nullptr;
  const bool indexed = t.textureIndex < args.textureCacheCount;
  if (indexed) {
    const TextureCacheEntry& entry = args.textureCache[t.textureIndex];
    if (entry.width > 0 && entry.height > 0 && entry.texels[0] != 0) surface.texture = &entry;
  }
  // The index alone decides for the replacing environment: with an empty entry the first colour shows flat.
  surface.constantColor = (t.color[0] == t.color[1] && t.color[1] == t.color[2]) || (indexed && t.texEnvMode == 1);
  if (surface.constantColor) {
    StoreQuad(surface.color, BytesAsFloats(t.color[0]));
  } else {
    for (int i = 0; i < 3; ++i) StoreQuad(surface.overW[i], Mul(BytesAsFloats(t.color[i]), SplatQuad(t.invW[i])));
  }
  if (surface.texture == nullptr) return;
  const Quad invW = FirstThree(LoadQuad(t.invW));
  StoreQuad(surface.s, Mul(LoadQuad(t.s), invW));
  StoreQuad(surface.t, Mul(LoadQuad(t.t), invW));
}

LANE_FN FloatsPart Weigh(const PartBarycentrics& w, const Vertices& of) { return Weigh(w, of.v[0], of.v[1], of.v[2]); }

}  // namespace
}  // namespace tlr2
