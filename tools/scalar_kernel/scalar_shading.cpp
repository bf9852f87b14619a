// Colour interpolation, texture sampling and the texture environment of the scalar tile kernel.
#include "scalar_shading.h"

#include <bit>
#include <cstring>

namespace tlr2::judge {
namespace {

struct Texels {
  float r[kMaxLanes], g[kMaxLanes], b[kMaxLanes], a[kMaxLanes];
};

struct Texel {
  float r, g, b, a;
};

float Channel(std::uint32_t color, int shift) { return static_cast<float>(color >> shift & 0xFFu); }

// -- Texture addresses ----------------------------------------------------------------------------------------------

std::int32_t Wrap(std::int32_t c, std::int32_t size, bool clamp) {
  if (!clamp) return c & static_cast<std::int32_t>(static_cast<std::uint32_t>(size) - 1u);
  if (c < 0) return 0;
  if (c >= size) return static_cast<std::int32_t>(static_cast<std::uint32_t>(size) - 1u);
  return c;
}

Texel Fetch(const TextureCacheEntry& entry, int level, std::int32_t x, std::int32_t y) {
  const std::uint32_t sum = static_cast<std::uint32_t>(x) * 4u +
                            static_cast<std::uint32_t>(entry.levelOffsetBytes[level]) +
                            static_cast<std::uint32_t>(y) * static_cast<std::uint32_t>(entry.levelStrideBytes[level]);
  const std::int32_t offset = static_cast<std::int32_t>(sum & 0xFFFFFFFCu);
  const char* base = reinterpret_cast<const char*>(static_cast<std::uintptr_t>(entry.texels[0]));
  std::uint32_t word;
  std::memcpy(&word, base + offset, 4);
  return {Channel(word, 16) * kOver255, Channel(word, 8) * kOver255, Channel(word, 0) * kOver255,
          Channel(word, 24) * kOver255};
}

std::int32_t Successor(std::int32_t c) { return static_cast<std::int32_t>(static_cast<std::uint32_t>(c) + 1u); }

// -- Filters, on the scale 0 to 1 -----------------------------------------------------------------------------------

Texel Nearest(const TextureCacheEntry& entry, float s, float t) {
  const std::int32_t width = entry.levelWidth[0];
  const std::int32_t height = entry.levelHeight[0];
  const std::int32_t x = TruncateLane(std::floor(s * static_cast<float>(width)));
  const std::int32_t y = TruncateLane(std::floor(t * static_cast<float>(height)));
  return Fetch(entry, 0, Wrap(x, width, entry.wrapClampS == 1), Wrap(y, height, entry.wrapClampT == 1));
}

template <bool Fused>
Texel Bilinear(const TextureCacheEntry& entry, int level, float s, float t) {
  const std::int32_t width = entry.levelWidth[level];
  const std::int32_t height = entry.levelHeight[level];
  const bool clampS = entry.wrapClampS == 1;
  const bool clampT = entry.wrapClampT == 1;
  const float fs = MultiplySubtract<Fused>(s, static_cast<float>(width), 0.5f);
  const float ft = MultiplySubtract<Fused>(t, static_cast<float>(height), 0.5f);
  const float wx = fs - std::floor(fs);
  const float wy = ft - std::floor(ft);
  const std::int32_t column = TruncateLane(std::floor(fs));
  const std::int32_t row = TruncateLane(std::floor(ft));
  const std::int32_t x0 = Wrap(column, width, clampS);
  const std::int32_t x1 = Wrap(Successor(column), width, clampS);
  const std::int32_t y0 = Wrap(row, height, clampT);
  const std::int32_t y1 = Wrap(Successor(row), height, clampT);

  const Texel topRight = Fetch(entry, level, x1, y0);
  const Texel topLeft = Fetch(entry, level, x0, y0);
  const Texel bottomRight = Fetch(entry, level, x1, y1);
  const Texel bottomLeft = Fetch(entry, level, x0, y1);
  const float weightTopRight = wx * (1.0f - wy);
  const float weightTopLeft = (1.0f - wx) * (1.0f - wy);
  const float weightBottomRight = wx * wy;
  const float weightBottomLeft = (1.0f - wx) * wy;
  const auto blend = [&](float Texel::* c) {
    float sum = topRight.*c * weightTopRight;
    sum = MultiplyAdd<Fused>(topLeft.*c, weightTopLeft, sum);
    sum = MultiplyAdd<Fused>(bottomRight.*c, weightBottomRight, sum);
    return MultiplyAdd<Fused>(bottomLeft.*c, weightBottomLeft, sum);
  };
  return {blend(&Texel::r), blend(&Texel::g), blend(&Texel::b), blend(&Texel::a)};
}

// Neither operand is preferred where both are numbers; where one is not, the second stands.
float Greater(float a, float b) { return a > b ? a : b; }

float HalfDifference(float neighbour, float here, float size) {
  const float difference = neighbour - here;
  return std::fabs(difference * 0.5f) * size;
}

template <bool Fused>
Texel Trilinear(const TextureCacheEntry& entry, const float* s, const float* t, int lane, ScalarTrace& trace,
                int& chosenLevel) {
  const int group = lane & ~3;
  const int across = group + 3 - (lane & 3);
  const int below = group + ((lane & 3) ^ 2);
  const float width = static_cast<float>(entry.levelWidth[0]);
  const float height = static_cast<float>(entry.levelHeight[0]);
  const float ax = Greater(HalfDifference(s[across], s[lane], width), HalfDifference(t[across], t[lane], height));
  const float ay = Greater(HalfDifference(s[below], s[lane], width), HalfDifference(t[below], t[lane], height));
  const float rho = Greater(ax, ay);

  const std::int32_t exponent = static_cast<std::int32_t>(std::bit_cast<std::uint32_t>(std::floor(rho)) >> 23 & 255u);
  const std::int32_t raw = (exponent > 127 ? exponent : 127) - 127 + entry.baseLevel;
  const int fineLevel = raw < 0 ? 0 : raw > 15 ? 15 : raw;
  chosenLevel = fineLevel;
  int coarseLevel = raw > -1 ? raw : -1;
  coarseLevel = (coarseLevel < 14 ? coarseLevel : 14) + 1;
  ++trace.sampledByLevel[static_cast<std::size_t>(fineLevel)];
  if (entry.levelWidth[coarseLevel] == 0) ++trace.sampledPastChain;

  const Texel fine = Bilinear<Fused>(entry, fineLevel, s[lane], t[lane]);
  const Texel coarse = Bilinear<Fused>(entry, coarseLevel, s[lane], t[lane]);
  const float size = static_cast<float>(1 << fineLevel);
  const float f = Greater(0.0f, (rho - size) / size);
  const auto blend = [&](float Texel::* c) { return MultiplyAdd<Fused>(1.0f - f, fine.*c, f * (coarse.*c)); };
  return {blend(&Texel::r), blend(&Texel::g), blend(&Texel::b), blend(&Texel::a)};
}

template <bool Fused>
void Sample(const TextureCacheEntry& entry, const float* s, const float* t, std::uint32_t filter, int lanes,
            Texels& out, ScalarTrace& trace, int* levels) {
  ++trace.sampledByFilter[filter == 0 ? 0 : filter == 2 ? 2 : 1];
  for (int i = 0; i < lanes; ++i) {
    const Texel texel = filter == 0   ? Nearest(entry, s[i], t[i])
                        : filter == 2 ? Bilinear<Fused>(entry, 0, s[i], t[i])
                                      : Trilinear<Fused>(entry, s, t, i, trace, levels[i]);
    out.r[i] = texel.r * 255.0f;
    out.g[i] = texel.g * 255.0f;
    out.b[i] = texel.b * 255.0f;
    out.a[i] = texel.a * 255.0f;
  }
}

// -- Texture environment --------------------------------------------------------------------------------------------

float Modulated(float fragment, float texel) {
  const float product = fragment * texel;
  return product * kOver255;
}

template <bool Fused>
void Combine(const TriangleRecord& tri, const Texels& texels, int lanes, Colors& fragment) {
  for (int i = 0; i < lanes; ++i) {
    switch (tri.texEnvMode) {
      case 1:
        fragment.r[i] = texels.r[i];
        fragment.g[i] = texels.g[i];
        fragment.b[i] = texels.b[i];
        fragment.a[i] = texels.a[i];
        break;
      case 2: {
        const float k = texels.a[i] * kOver255;
        fragment.r[i] = MultiplyAdd<Fused>(fragment.r[i], 1.0f - k, texels.r[i] * k);
        fragment.g[i] = MultiplyAdd<Fused>(fragment.g[i], 1.0f - k, texels.g[i] * k);
        fragment.b[i] = MultiplyAdd<Fused>(fragment.b[i], 1.0f - k, texels.b[i] * k);
        break;
      }
      case 3: {
        const auto mix = [&](float texel, float mine, int shift) {
          const float k = texel * kOver255;
          return MultiplyAdd<Fused>(1.0f - k, mine, k * Channel(tri.texEnvColor, shift));
        };
        fragment.r[i] = mix(texels.r[i], fragment.r[i], 16);
        fragment.g[i] = mix(texels.g[i], fragment.g[i], 8);
        fragment.b[i] = mix(texels.b[i], fragment.b[i], 0);
        fragment.a[i] = Modulated(fragment.a[i], texels.a[i]);
        break;
      }
      default:
        fragment.r[i] = Modulated(fragment.r[i], texels.r[i]);
        fragment.g[i] = Modulated(fragment.g[i], texels.g[i]);
        fragment.b[i] = Modulated(fragment.b[i], texels.b[i]);
        fragment.a[i] = Modulated(fragment.a[i], texels.a[i]);
        break;
    }
  }
}

/// pw times the weighted sum of v[i] * invW[i], whose products are rounded once a plane.
template <bool Fused>
void Interpolate(const Barycentrics& weights, const float* pw, const float v[3], const float invW[3], int lanes,
                 float* out) {
  const float scaled[3] = {v[0] * invW[0], v[1] * invW[1], v[2] * invW[2]};
  for (int i = 0; i < lanes; ++i) out[i] = pw[i] * SumOfThree<Fused>(weights, i, scaled);
}

template <bool Fused>
void InterpolateChannel(const TriangleRecord& tri, const Barycentrics& weights, const float* pw, int shift, int lanes,
                        float* out) {
  const float v[3] = {Channel(tri.color[0], shift), Channel(tri.color[1], shift), Channel(tri.color[2], shift)};
  Interpolate<Fused>(weights, pw, v, tri.invW, lanes, out);
}

}  // namespace

template <bool Fused>
void ShadePlane(const KernelFrameArgs& args, const TriangleRecord& tri, const Barycentrics& weights, int lanes,
                Colors& out, ScalarTrace& trace, FragmentShading* detail) {
  float pw[kMaxLanes];
  for (int i = 0; i < lanes; ++i) pw[i] = 1.0f / SumOfThree<Fused>(weights, i, tri.invW);

  const bool indexed = tri.textureIndex < args.textureCacheCount;
  const bool constant = tri.color[0] == tri.color[1] && tri.color[0] == tri.color[2];
  const bool replaced = indexed && tri.texEnvMode == 1;
  if (constant || replaced) {
    for (int i = 0; i < lanes; ++i) {
      out.r[i] = Channel(tri.color[0], 16);
      out.g[i] = Channel(tri.color[0], 8);
      out.b[i] = Channel(tri.color[0], 0);
      out.a[i] = Channel(tri.color[0], 24);
    }
  } else {
    InterpolateChannel<Fused>(tri, weights, pw, 16, lanes, out.r);
    InterpolateChannel<Fused>(tri, weights, pw, 8, lanes, out.g);
    InterpolateChannel<Fused>(tri, weights, pw, 0, lanes, out.b);
    InterpolateChannel<Fused>(tri, weights, pw, 24, lanes, out.a);
  }

  for (int i = 0; detail != nullptr && i < lanes; ++i) {
    detail[i] = {};
    const float ahead[4] = {out.r[i], out.g[i], out.b[i], out.a[i]};
    std::memcpy(detail[i].interpolated, ahead, sizeof ahead);
  }

  const TextureCacheEntry* entry = indexed ? &args.textureCache[tri.textureIndex] : nullptr;
  const bool present = entry != nullptr && entry->width > 0 && entry->height > 0 && entry->texels[0] != 0;
  if (!present) {
    ++trace.liveByTexture[replaced && !constant ? 5 : 0];
    return;
  }
  ++trace.liveByTexture[tri.texEnvMode >= 1 && tri.texEnvMode <= 3 ? tri.texEnvMode : 4];
  float s[kMaxLanes];
  float t[kMaxLanes];
  Interpolate<Fused>(weights, pw, tri.s, tri.invW, lanes, s);
  Interpolate<Fused>(weights, pw, tri.t, tri.invW, lanes, t);
  Texels texels;
  int levels[kMaxLanes] = {};
  Sample<Fused>(*entry, s, t, tri.filterMode, lanes, texels, trace, levels);
  for (int i = 0; detail != nullptr && i < lanes; ++i) {
    detail[i].textured = true;
    detail[i].s = s[i];
    detail[i].t = t[i];
    detail[i].level = levels[i];
    const float texel[4] = {texels.r[i], texels.g[i], texels.b[i], texels.a[i]};
    std::memcpy(detail[i].texel, texel, sizeof texel);
  }
  Combine<Fused>(tri, texels, lanes, out);
}

template void ShadePlane<false>(const KernelFrameArgs&, const TriangleRecord&, const Barycentrics&, int, Colors&,
                                ScalarTrace&, FragmentShading*);
template void ShadePlane<true>(const KernelFrameArgs&, const TriangleRecord&, const Barycentrics&, int, Colors&,
                               ScalarTrace&, FragmentShading*);

}  // namespace tlr2::judge
