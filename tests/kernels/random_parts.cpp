// Plans for vertices, varyings and textures.
#include "random_parts.h"

#include <cmath>
#include <limits>

namespace tlr2::judge {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

struct Corner {
  float x, y;
};

void Place(TriangleRecord& tri, Corner a, Corner b, Corner c, Corner origin) {
  const Corner corners[3] = {a, b, c};
  for (int i = 0; i < 3; ++i) {
    tri.x[i] = origin.x + corners[i].x;
    tri.y[i] = origin.y + corners[i].y;
  }
}

// An axis-parallel edge whose value at some centres is the bias or a hair from it.
void PlaceAtBias(RandomSource& random, Corner origin, TriangleRecord& tri) {
  const float length = static_cast<float>(1 << random.Between(1, 5));
  const float offset = random.Pick({-1.0f, 1.0f}) * 0.00390625f / length;
  const float line = static_cast<float>(random.Between(0, 8)) + 0.5f + offset;
  const float start = static_cast<float>(random.Between(-8, 4));
  const float reach = random.Pick({-1.0f, 1.0f}) * static_cast<float>(random.Between(4, 20));
  const bool upright = random.OneIn(2);
  const Corner a = upright ? Corner{line, start} : Corner{start, line};
  const Corner b = upright ? Corner{line, start + length} : Corner{start + length, line};
  const Corner c = upright ? Corner{line + reach, start + random.Float(0.0f, length)}
                           : Corner{start + random.Float(0.0f, length), line + reach};
  Place(tri, a, b, c, origin);
  if (random.OneIn(2)) {
    const std::int32_t units = random.Between(-2, 2);
    float* moved = upright ? tri.x : tri.y;
    moved[0] = Nudge(moved[0], units);
    moved[1] = Nudge(moved[1], units);
  }
}

// Grid positions of a step, so that edges run through centres and areas are often 0.
Corner OnGrid(RandomSource& random, std::int32_t low, std::int32_t high, std::int32_t perPixel) {
  const float scale = 1.0f / static_cast<float>(perPixel);
  return {static_cast<float>(random.Between(low * perPixel, high * perPixel)) * scale,
          static_cast<float>(random.Between(low * perPixel, high * perPixel)) * scale};
}

Corner AtCentre(RandomSource& random, std::int32_t low, std::int32_t high) {
  return {static_cast<float>(random.Between(low, high)) + 0.5f, static_cast<float>(random.Between(low, high)) + 0.5f};
}

Corner Within(RandomSource& random, float low, float high) {
  return {random.Float(low, high), random.Float(low, high)};
}

void PlaceColinear(RandomSource& random, Corner origin, TriangleRecord& tri) {
  const Corner a = OnGrid(random, -8, 16, 2);
  const Corner b = OnGrid(random, -8, 16, 2);
  const float k = static_cast<float>(random.Between(-2, 3));
  Place(tri, a, b, {a.x + (b.x - a.x) * k, a.y + (b.y - a.y) * k}, origin);
  if (random.OneIn(3)) tri.x[random.Below(3)] = Nudge(tri.x[0], random.Between(-1, 1));
}

void PlaceWild(RandomSource& random, Corner origin, TriangleRecord& tri) {
  Place(tri, Within(random, -20.0f, 28.0f), Within(random, -20.0f, 28.0f), Within(random, -20.0f, 28.0f), origin);
  const float wild = random.Pick({kProcessorNan, kInfinity, -kInfinity, 1e18f, -1e18f, 1e9f, -3e9f, 1e-40f});
  float* axis = random.OneIn(2) ? tri.x : tri.y;
  axis[random.Below(3)] = wild;
  if (random.OneIn(4)) axis[random.Below(3)] = wild;
}

std::uint32_t NearColor(RandomSource& random, std::uint32_t color, std::int32_t reach) {
  std::uint32_t out = 0;
  for (int shift = 0; shift < 32; shift += 8) {
    std::int32_t channel = static_cast<std::int32_t>(color >> shift & 0xFFu) + random.Between(-reach, reach);
    channel = channel < 0 ? 0 : channel > 255 ? 255 : channel;
    out |= static_cast<std::uint32_t>(channel) << shift;
  }
  return out;
}

}  // namespace

void PlaceVertices(RandomSource& random, std::int32_t x0, std::int32_t y0, TriangleRecord& tri) {
  const Corner origin{static_cast<float>(x0), static_cast<float>(y0)};
  switch (random.Below(12)) {
    case 0:  // covers the tile
    case 1: {
      const float r = random.Float(16.0f, 200.0f);
      Place(tri, {-r, -r}, {3 * r, random.Float(-r, -8.0f)}, {random.Float(-r, -8.0f), 3 * r}, origin);
      break;
    }
    case 2:  // inside or just around the tile
    case 3:
      Place(tri, Within(random, -3.0f, 11.0f), Within(random, -3.0f, 11.0f), Within(random, -3.0f, 11.0f), origin);
      break;
    case 4: {  // less than a pixel
      const Corner a = Within(random, 0.0f, 8.0f);
      const float size = random.Float(0.01f, 1.0f);
      Place(tri, a, {a.x + random.Float(-size, size), a.y + random.Float(-size, size)},
            {a.x + random.Float(-size, size), a.y + random.Float(-size, size)}, origin);
      break;
    }
    case 5:  // large
      Place(tri, Within(random, -900.0f, 900.0f), Within(random, -900.0f, 900.0f), Within(random, -900.0f, 900.0f),
            origin);
      break;
    case 6:
      Place(tri, AtCentre(random, -2, 9), AtCentre(random, -2, 9), AtCentre(random, -2, 9), origin);
      break;
    case 7: {
      const std::int32_t perPixel = 1 << random.Between(0, 4);
      Place(tri, OnGrid(random, -8, 16, perPixel), OnGrid(random, -8, 16, perPixel), OnGrid(random, -8, 16, perPixel),
            origin);
      break;
    }
    case 8:
      PlaceAtBias(random, origin, tri);
      break;
    case 9:
      if (random.OneIn(3)) {
        PlaceColinear(random, origin, tri);
      } else {  // the corner centres lie on its edges
        const float reach = static_cast<float>(random.Between(7, 30));
        Place(tri, {0.5f, 0.5f}, {0.5f + 2 * reach, 0.5f}, {0.5f, 0.5f + 2 * reach}, origin);
      }
      break;
    case 10:
      if (random.OneIn(4)) {
        PlaceWild(random, origin, tri);
        break;
      }
      [[fallthrough]];
    default:
      Place(tri, Within(random, -40.0f, 48.0f), Within(random, -40.0f, 48.0f), Within(random, -40.0f, 48.0f), origin);
      break;
  }
}

void PlaceAround(RandomSource& random, const RandomTile& tile, TriangleRecord& tri) {
  const float reach = std::exp2(random.Float(6.0f, random.OneIn(8) ? 22.0f : 12.0f));
  const float turn = random.Float(0.0f, 6.28f), away = random.Float(0.0f, 0.3f) * reach;
  const bool reversed = random.OneIn(2);
  const float cx = static_cast<float>(tile.x0) + 4.0f + away * std::cos(turn * 7.0f);
  const float cy = static_cast<float>(tile.y0) + 4.0f + away * std::sin(turn * 7.0f);
  for (int i = 0; i < 3; ++i) {
    const float angle = turn + (reversed ? -2.0944f : 2.0944f) * static_cast<float>(i);
    tri.x[i] = cx + reach * std::cos(angle);
    tri.y[i] = cy + reach * std::sin(angle);
  }
}

void PlaceInside(RandomSource& random, const RandomTile& tile, TriangleRecord& tri) {
  const float size = random.Float(1.0f, 7.0f);
  const float x = static_cast<float>(tile.x0) + random.Float(-2.0f, 9.0f);
  const float y = static_cast<float>(tile.y0) + random.Float(-2.0f, 9.0f);
  for (int i = 0; i < 3; ++i) {
    tri.x[i] = x + random.Float(-size, size);
    tri.y[i] = y + random.Float(-size, size);
  }
}

void SetVaryings(RandomSource& random, std::int32_t texels, TriangleRecord& tri) {
  const std::uint32_t base = random.Word();
  const std::int32_t reach = random.Pick({0, 1, 3, 10, 40, 255});
  const float size = static_cast<float>(texels > 0 ? texels : 1);
  // Texture extent over the triangle, in texels; the sharing decisions and the levels follow from it.
  const float extent = random.Pick({0.0f, 0.5f, 4.0f, 16.0f, 64.0f, 400.0f, 3000.0f}) / size;
  const float s = random.Float(-2.0f, 2.0f);
  const float t = random.Float(-2.0f, 2.0f);
  const std::uint32_t depthKind = random.Below(3);
  for (int i = 0; i < 3; ++i) {
    tri.color[i] = reach == 0 ? base : NearColor(random, base, reach);
    tri.s[i] = s + random.Float(-extent, extent);
    tri.t[i] = t + random.Float(-extent, extent);
    tri.invW[i] = depthKind == 0 ? 1.0f : depthKind == 1 ? random.Float(0.01f, 2.0f) : random.Float(0.4f, 0.6f);
  }
  if (random.OneIn(3)) {  // alpha around the fixed threshold
    for (std::uint32_t& color : tri.color) {
      color = (color & 0xFFFFFFu) | static_cast<std::uint32_t>(random.Between(167, 172)) << 24;
    }
  }
  if (random.OneIn(8)) {  // on texel borders and centres
    for (int i = 0; i < 3; ++i) {
      tri.s[i] = static_cast<float>(random.Between(-16, 32)) * 0.5f / size;
      tri.t[i] = static_cast<float>(random.Between(-16, 32)) * 0.5f / size;
      tri.invW[i] = 1.0f;
    }
  }
  if (random.OneIn(24)) {
    const int i = static_cast<int>(random.Below(3));
    const float wild = random.Pick({kProcessorNan, kInfinity, -kInfinity, 1e10f, -1e10f, 1e30f, 1e-42f, 0.0f, -1.0f});
    float* field = random.Pick({tri.s, tri.t, tri.invW, tri.invW});
    field[i] = wild;
    if (random.OneIn(3)) field[(i + 1) % 3] = wild;
  }
}

void MakeTextures(RandomSource& random, RandomTile& tile) {
  constexpr std::uint32_t kTextures = 3;
  tile.textureCount = kTextures;
  tile.textures.assign(kTextures, TextureCacheEntry{});
  tile.texels.clear();
  std::size_t first[kTextures] = {};
  for (std::uint32_t n = 0; n < kTextures; ++n) {
    if (n == 2 && random.OneIn(2)) continue;  // absent
    TextureCacheEntry& entry = tile.textures[n];
    std::int32_t width = 1 << random.Between(0, 5);
    std::int32_t height = random.OneIn(2) ? width : 1 << random.Between(0, 5);
    if (random.OneIn(6)) {
      width = random.Between(1, 24);
      height = random.Between(1, 24);
    }
    entry.width = width;
    entry.height = height;
    if (random.OneIn(24)) entry.baseLevel = random.Pick({1, -1, 3, -20, 20});
    entry.wrapClampS = random.Pick({0, 0, 1, 1, 2});
    entry.wrapClampT = random.Pick({0, 0, 1, 1, -1});
    const bool unrelated = random.OneIn(16);  // level sizes that do not follow from level 0
    const bool padded = random.OneIn(8);
    std::uint32_t words = 0;
    for (int level = 0; level < kMaxLevels; ++level) {
      entry.levelWidth[level] = width;
      entry.levelHeight[level] = height;
      const std::int32_t pad = padded ? random.Between(0, 11) : 0;
      entry.levelStrideBytes[level] = width * 4 + pad;
      entry.levelTexelBytes[level] = 4;
      entry.levelOffsetBytes[level] = static_cast<std::int32_t>(words * 4) + (padded ? random.Between(0, 3) : 0);
      words += static_cast<std::uint32_t>((width + 4) * height);
      if (unrelated) {
        width = random.Between(1, 16);
        height = random.Between(1, 16);
        if (level == 5) break;
        continue;
      }
      if (width == 1 && height == 1) break;
      width = width > 1 ? width / 2 : 1;
      height = height > 1 ? height / 2 : 1;
    }
    // Two words ahead and behind for what lies past the chain; what they hold shows where they are read.
    first[n] = tile.texels.size() + 2;
    tile.texels.resize(first[n] + words + 2);
    const std::uint32_t base = random.Word();
    const std::int32_t contrast = random.Pick({0, 1, 4, 10, 20, 60, 255});
    const std::uint32_t alphas = random.Below(4);  // opaque, opaque but for some, as they come
    for (std::size_t i = first[n] - 2; i < tile.texels.size(); ++i) {
      tile.texels[i] = NearColor(random, base, contrast);
      if (alphas == 0 || (alphas == 1 && !random.OneIn(12))) tile.texels[i] |= 0xFF000000u;
    }
    if (random.OneIn(32)) {
      switch (random.Below(3)) {
        case 0:
          entry.width = random.Pick({0, -1});
          break;
        case 1:
          entry.height = random.Pick({0, -4});
          break;
        default:
          first[n] = 0;
          break;
      }
    }
  }
  for (std::uint32_t n = 0; n < kTextures; ++n) {
    if (first[n] == 0) continue;
    const auto address = reinterpret_cast<std::intptr_t>(tile.texels.data() + first[n]);
    tile.textures[n].texels[0] = static_cast<std::uint64_t>(static_cast<std::int64_t>(address));
  }
}

}  // namespace tlr2::judge
