// Random calls of many triangles over one tile, mostly opaque ones that hide each other: layers that hold the whole
// tile at depths close to each other, small triangles, and here and there one that asks for the colours below.
#include <algorithm>
#include <cmath>
#include <limits>

#include "random_parts.h"

namespace tlr2::judge {
namespace {

/// What the triangles of a pile have in common.
struct Pile {
  std::uint32_t whole;    // of 8 triangles, how many hold the tile
  bool fine;              // whether the others hold a pixel each, so that many show at once
  float depth, step;      // of the next layer, and how far apart layers lie
  float slope;            // of depth, a pixel
  std::uint32_t special;  // one in so many blends or is alpha-tested, 0 for none
  std::uint32_t depthFunc;
};

/// About a pixel centre of its own.
void PlaceOnPixel(RandomSource& random, const RandomTile& tile, std::uint32_t number, TriangleRecord& tri) {
  const std::uint32_t pixel = number * 27 % 64;
  const float x = static_cast<float>(tile.x0) + 0.5f + static_cast<float>(pixel % 8);
  const float y = static_cast<float>(tile.y0) + 0.5f + static_cast<float>(pixel / 8);
  const float turn = random.Float(0.0f, 6.28f), size = random.Float(0.4f, 1.2f);
  for (int i = 0; i < 3; ++i) {
    tri.x[i] = x + size * std::cos(turn + 2.0944f * static_cast<float>(i));
    tri.y[i] = y + size * std::sin(turn + 2.0944f * static_cast<float>(i));
  }
}

void SetPlane(RandomSource& random, const RandomTile& tile, Pile& pile, TriangleRecord& tri) {
  pile.depth += pile.step * random.Pick({1.0f, 1.0f, 1.0f, 0.0f, -1.5f});
  const float across = pile.slope * random.Float(-1.0f, 1.0f), down = pile.slope * random.Float(-1.0f, 1.0f);
  for (int i = 0; i < 3; ++i) {
    tri.z[i] = pile.depth + across * (tri.x[i] - static_cast<float>(tile.x0) - 4.0f) +
               down * (tri.y[i] - static_cast<float>(tile.y0) - 4.0f);
    if (random.OneIn(400)) tri.z[i] = random.Pick({kProcessorNan, 3e38f, 1e30f, -1e30f, 1e-42f});
  }
  tri.zMin = std::min({tri.z[0], tri.z[1], tri.z[2]});
  tri.zMax = std::max({tri.z[0], tri.z[1], tri.z[2]});
}

void SetPileState(RandomSource& random, const RandomTile& tile, const Pile& pile, TriangleRecord& tri) {
  tri.textureIndex = random.OneIn(2) ? kNoTexture : random.Below(tile.textureCount);
  tri.filterMode = random.Below(3);
  tri.depthTest = random.OneIn(12) ? 0 : 1;
  tri.depthFunc = random.OneIn(8) ? random.Below(8) : pile.depthFunc;
  tri.depthWrite = random.OneIn(8) ? 0 : 1;
  if (random.OneIn(8)) tri.texEnvMode = random.Below(4);
  if (pile.special == 0 || !random.OneIn(pile.special)) return;
  if (random.OneIn(2)) {
    tri.alphaTest = 1;
  } else {
    tri.blendMode = 1 + random.Below(3);
  }
}

}  // namespace

void MakeRandomPile(std::uint64_t seed, RandomTile& tile) {
  MakeRandomTile(seed, tile);
  RandomSource random(seed ^ 0x5041494C45u);
  const std::uint32_t count = random.OneIn(2) ? 2 + random.Below(10) : 20 + random.Below(100);
  Pile pile;
  pile.whole = random.Pick({0u, 1u, 4u, 7u, 8u});
  pile.fine = random.OneIn(3);
  pile.depth = random.Float(0.3f, 0.9f);
  pile.step = random.Pick({-1e-7f, -1e-6f, -1e-5f, -1e-4f, -1e-3f, -1e-2f, 1e-5f, 1e-3f, 0.0f});
  pile.slope = random.Pick({0.0f, 1e-7f, 1e-5f, 1e-4f, 1e-3f});
  pile.special = random.Pick({0u, 0u, 50u, 10u, 3u});
  pile.depthFunc = random.Pick({1u, 1u, 2u});
  if (random.OneIn(2)) {
    const float stored = random.OneIn(20) ? std::numeric_limits<float>::infinity() : 1.0f;
    std::fill(tile.depth.begin(), tile.depth.end(), stored);
  }
  tile.triangles.clear();
  tile.entries.clear();
  for (std::uint32_t n = 0; n < count; ++n) {
    TriangleRecord tri{};
    if (random.Below(8) < pile.whole) {
      PlaceAround(random, tile, tri);
    } else if (pile.fine) {
      PlaceOnPixel(random, tile, n, tri);
    } else {
      PlaceInside(random, tile, tri);
    }
    SetPileState(random, tile, pile, tri);
    SetPlane(random, tile, pile, tri);
    const bool textured = tri.textureIndex < tile.textureCount;
    SetVaryings(random, textured ? tile.textures[tri.textureIndex].width : 8, tri);
    tile.triangles.push_back(tri);
    tile.entries.push_back(n);
  }
  tile.entryCount = static_cast<std::int32_t>(count);
  if (random.OneIn(2)) tile.hizCell = 1.0f;
}

}  // namespace tlr2::judge
