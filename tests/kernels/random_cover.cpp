// Random calls of few triangles behind one that holds the whole tile: by how little it may lie nearer, and coordinates
// and depths whose products leave the floats.
#include <algorithm>
#include <cmath>

#include "random_parts.h"

namespace tlr2::judge {
namespace {

/// With edges through pixel centres, or past them by about what the bias lets in; some are needles.
void PlaceAlongPixels(RandomSource& random, const RandomTile& tile, TriangleRecord& tri) {
  const std::int32_t reach = random.Pick({1, 1, 2, 5, 200, 2000});
  for (int i = 0; i < 3; ++i) {
    const float past = random.Pick({0.0f, 0.0f, 0x1p-9f, -0x1p-9f, 0x1p-11f, -0x1p-11f, 0x1p-8f, -0x1p-8f, 0.25f});
    tri.x[i] = static_cast<float>(tile.x0 + 4 + random.Between(-reach, reach)) + 0.5f + past;
    tri.y[i] = static_cast<float>(tile.y0 + 4 + random.Between(-reach, reach)) + 0.5f +
               random.Pick({0.0f, 0x1p-9f, -0x1p-9f, -past});
  }
  if (random.OneIn(4)) {
    const float beyond = random.Float(0.1f, 1.0f), apart = random.Float(-4.0f, 4.0f);
    const float x = static_cast<float>(tile.x0) + random.Float(0.0f, 8.0f);
    const float y = static_cast<float>(tile.y0) + random.Float(0.0f, 8.0f);
    tri.x[1] = x + (x - tri.x[0]) * beyond;
    tri.y[1] = y + (y - tri.y[0]) * beyond;
    tri.x[2] = tri.x[1] + apart;
    tri.y[2] = tri.y[1] + random.Float(-1.0f, 1.0f) * apart;
  }
}

/// A small one whose nearest vertex lies past a pixel centre by what the bias lets in at both edges there.
void PlaceByVertex(RandomSource& random, const RandomTile& tile, TriangleRecord& tri) {
  const float x = static_cast<float>(tile.x0 + random.Between(0, 7)) + 0.5f;
  const float y = static_cast<float>(tile.y0 + random.Between(0, 7)) + 0.5f;
  const float width = random.Pick({1.0f, 1.0f, 2.0f, 0.0625f, 64.0f});
  const float height = random.Pick({1.0f, 1.0f, 1.001f, 1.1f, 2.0f}) / width;
  const float right = random.Pick({0x1p-8f, 0x1.ffp-9f, 0x1p-9f, 0.0f}) / height;
  const float down = random.Pick({0x1p-8f, 0x1.ffp-9f, 0x1p-9f, 0.0f}) / width;
  const float slant = random.OneIn(2) ? 0.0f : random.Float(-1.0f, 1.0f) * width;
  const float across[3] = {right, right + width, right + slant}, along[3] = {down, down, down + height};
  const float mirrorX = random.OneIn(4) ? -1.0f : 1.0f, mirrorY = random.OneIn(4) ? -1.0f : 1.0f;
  const std::uint32_t turn = random.Below(3);
  const bool reversed = random.OneIn(2);
  const float least = random.Pick({0.5f, 0.1f, 0.0f, -0.5f}), range = random.Pick({0.4f, 0.1f, 0.01f});
  for (std::uint32_t i = 0; i < 3; ++i) {
    const std::uint32_t to = ((reversed ? 2 - i : i) + turn) % 3;
    tri.x[to] = x + mirrorX * across[i];
    tri.y[to] = y + mirrorY * along[i];
    tri.z[to] = i == 0 ? least : least + range;
  }
}

void Append(RandomTile& tile, TriangleRecord tri) {
  tri.zMin = std::min({tri.z[0], tri.z[1], tri.z[2]});
  tri.zMax = std::max({tri.z[0], tri.z[1], tri.z[2]});
  tile.entries.push_back(static_cast<std::uint32_t>(tile.triangles.size()));
  tile.triangles.push_back(tri);
  tile.entryCount = static_cast<std::int32_t>(tile.entries.size());
}

/// An untextured one that tests and writes depth.
TriangleRecord Plain(RandomSource& random, std::uint32_t depthFunc) {
  TriangleRecord tri{};
  tri.textureIndex = kNoTexture;
  tri.depthTest = tri.depthWrite = 1;
  tri.depthFunc = depthFunc;
  SetVaryings(random, 8, tri);
  return tri;
}

void Empty(RandomTile& tile) {
  tile.triangles.clear();
  tile.entries.clear();
  tile.hizCell = 1.0f;
}

}  // namespace

void MakeRandomCover(std::uint64_t seed, RandomTile& tile) {
  MakeRandomTile(seed, tile);
  RandomSource random(seed ^ 0x434F564552u);
  const std::uint32_t hidden = 1 + random.Below(4);
  if (!random.OneIn(8)) std::fill(tile.depth.begin(), tile.depth.end(), 1.0f);
  Empty(tile);
  const bool byVertex = random.OneIn(3);
  float least = 1.0f, range = 0.0f;
  for (std::uint32_t n = 0; n < (byVertex ? 1 : hidden); ++n) {
    TriangleRecord tri = Plain(random, random.Pick({0u, 1u, 1u, 2u, 5u}));
    if (byVertex) {
      PlaceByVertex(random, tile, tri);
    } else {
      if (random.OneIn(40)) tri.depthTest = 0;
      if (random.OneIn(20)) tri.depthWrite = 0;
      if (random.OneIn(20)) tri.alphaTest = 1;
      if (random.OneIn(20)) tri.blendMode = 1 + random.Below(3);
      if (random.OneIn(6)) {
        PlaceAround(random, tile, tri);
      } else if (random.OneIn(4)) {
        PlaceInside(random, tile, tri);
      } else {
        PlaceAlongPixels(random, tile, tri);
      }
      const float far = random.Pick({0.2f, 0.5f, 0.9f, 1.0f, 1000.0f}), steep = random.Pick({0.0f, 1e-3f, 0.1f, 0.9f});
      for (float& z : tri.z) z = far * (1.0f - steep * random.Float(0.0f, 1.0f));
      if (random.OneIn(200)) tri.z[random.Below(3)] = random.Pick({kProcessorNan, 3e38f, -3e38f, 1e-42f});
    }
    for (const float z : tri.z) least = std::min(least, z);
    range = std::max(range, std::max({tri.z[0], tri.z[1], tri.z[2]}) - least);
    Append(tile, tri);
  }
  TriangleRecord cover = Plain(random, 1);
  if (random.OneIn(40)) cover.depthTest = 0;
  if (random.OneIn(20)) cover.depthWrite = 0;
  PlaceAround(random, tile, cover);
  const float nearer =
      byVertex ? range * std::exp2(random.Float(-11.0f, -5.0f))
               : random.Pick({0.0f, 1e-7f, 1e-6f, 1e-5f, 1e-4f, 1e-3f, -1e-6f}) +
                     range * random.Pick({0.0f, 0x1p-12f, 0x1p-10f, 0x1p-8f, 0x1p-7f, 0x1p-6f, 0x1p-5f, 0.5f});
  const bool flat = byVertex || random.OneIn(2);
  for (float& z : cover.z) z = least - nearer + (flat ? 0.0f : random.Pick({0.0f, 1e-7f, -1e-5f}));
  Append(tile, cover);
}

void MakeRandomHuge(std::uint64_t seed, RandomTile& tile) {
  MakeRandomTile(seed, tile);
  RandomSource random(seed ^ 0x48554745u);
  Empty(tile);
  const float reach = std::exp2(static_cast<float>(random.Between(8, 64)));
  const bool over = random.OneIn(2);
  const double sign = random.OneIn(2) ? 1.0 : -1.0;
  const std::uint32_t far = random.Below(3), hidden = random.Below(3);
  for (std::uint32_t n = 0; n <= hidden; ++n) {
    TriangleRecord tri = Plain(random, n == hidden ? 1u : random.Pick({0u, 1u, 2u, 6u}));
    const float turn = random.Float(0.0f, 6.28f), step = random.OneIn(2) ? -2.0944f : 2.0944f;
    for (int i = 0; i < 3; ++i) {
      const float angle = turn + step * static_cast<float>(i);
      tri.x[i] = reach * random.Float(0.9f, 1.1f) * std::cos(angle);
      tri.y[i] = reach * random.Float(0.9f, 1.1f) * std::sin(angle);
    }
    if (n < hidden && !random.OneIn(3)) PlaceInside(random, tile, tri);
    // The depth at which the products of the edge opposite of the far vertex come to about the greatest float.
    const std::uint32_t a = (far + 1) % 3, b = (far + 2) % 3;
    const double dx = double{tri.x[b]} - double{tri.x[a]}, dy = double{tri.y[b]} - double{tri.y[a]};
    const double products =
        std::fabs(dx * (tile.y0 + 4.0 - double{tri.y[a]})) + std::fabs(dy * (tile.x0 + 4.0 - double{tri.x[a]}));
    double depth = 0x1.fffffep+127 / products * (1.0 + static_cast<double>(random.Between(-40, 40)) * 0x1p-25);
    if (!over || n < hidden) depth *= static_cast<double>(random.Float(0.001f, 1.0f));
    depth = sign * std::min(depth, 3e38);
    const bool like = n < hidden && random.OneIn(2);
    const float others = random.OneIn(3) ? static_cast<float>(-1e-9 * std::fabs(depth)) : 0.0f;
    for (float& z : tri.z)
      z = like ? static_cast<float>(depth * static_cast<double>(random.Float(0.5f, 1.0f))) : others;
    tri.z[far] = static_cast<float>(depth);
    Append(tile, tri);
    if (n > 0) continue;
    const float about = static_cast<float>(depth * static_cast<double>(random.Float(0.3f, 2.0f)));
    std::fill(tile.depth.begin(), tile.depth.end(), random.OneIn(2) ? about : random.Pick({1.0f, 1e30f, -1e20f}));
  }
  TriangleRecord last = tile.triangles.back();  // so that the one before it is not the last of the list
  PlaceInside(random, tile, last);
  Append(tile, last);
}

}  // namespace tlr2::judge
