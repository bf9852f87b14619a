// Random calls: the framebuffer, the state of each triangle, and the call itself.
#include "random_tile.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#include "random_parts.h"

namespace tlr2::judge {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

// Depths from a small set meet each other and the stored ones exactly.
float QuantisedDepth(RandomSource& random) { return static_cast<float>(random.Below(9)) * 0.125f; }

float RandomDepth(RandomSource& random, bool quantised) {
  if (random.OneIn(200)) return random.Pick({kProcessorNan, kInfinity, -kInfinity, 1e-42f, -0.5f, 2.0f, 1e30f});
  return quantised ? QuantisedDepth(random) : random.Float(0.0f, 1.0f);
}

void FillBuffers(RandomSource& random, RandomTile& tile) {
  const std::int32_t columns = random.OneIn(2) ? random.Between(1, 24) : 8 * random.Between(1, 3);
  const std::int32_t rows = random.OneIn(2) ? random.Between(1, 24) : 8 * random.Between(1, 3);
  tile.originX = 0;
  tile.originY = 0;
  if (random.OneIn(4)) {
    tile.originX = 8 * random.Between(0, 500);
    tile.originY = 8 * random.Between(0, 300);
  }
  const std::int32_t across = random.Between(0, (columns - 1) / 8);
  const std::int32_t down = random.Between(0, (rows - 1) / 8);
  tile.x0 = tile.originX + 8 * across;
  tile.y0 = tile.originY + 8 * down;
  tile.x1 = std::min(tile.x0 + 8, tile.originX + columns);
  tile.y1 = std::min(tile.y0 + 8, tile.originY + rows);

  // A buffer that starts at pixel (originX, originY): the rows keep their whole stride.
  const auto width = static_cast<std::uint32_t>(columns);
  tile.colorStride = width + (random.OneIn(2) ? random.Below(9) : 0);
  tile.depthStride = width + (random.OneIn(8) ? random.Below(9) : 0);
  const auto height = static_cast<std::size_t>(rows);
  tile.color.resize(2 * kGuardWords + height * tile.colorStride);
  tile.depth.resize(2 * kGuardWords + height * tile.depthStride);
  for (std::uint32_t& word : tile.color) word = random.Word();
  const std::uint32_t kind = random.Below(4);
  for (float& d : tile.depth) {
    d = kind == 0   ? 1.0f
        : kind == 1 ? QuantisedDepth(random)
        : kind == 2 ? random.Float(0.0f, 1.0f)
                    : RandomDepth(random, random.OneIn(2));
  }
}

void SetState(RandomSource& random, RandomTile& tile, TriangleRecord& tri) {
  tri.textureIndex = kNoTexture;
  if (!random.OneIn(3)) {
    tri.textureIndex = random.Below(tile.textureCount);
    if (random.OneIn(20)) tri.textureIndex = random.Pick({tile.textureCount, tile.textureCount + 1, 0x80000000u});
  }
  tri.blendMode = random.OneIn(2) ? 0 : random.Pick({1u, 2u, 3u, 3u, 4u, 0xFFFFFFFFu});
  tri.alphaTest = random.OneIn(4) ? random.Pick({1u, 1u, 0x100u}) : 0;
  tri.depthTest = random.OneIn(4) ? 0 : random.Pick({1u, 1u, 1u, 2u});
  tri.depthFunc = random.OneIn(2) ? 2 : random.Below(9);
  if (random.OneIn(50)) tri.depthFunc = 0xFFFFFFFFu;
  tri.depthWrite = random.OneIn(4) ? 0 : random.Pick({1u, 1u, 1u, 0x80000000u});
  tri.texEnvMode = random.Below(4);
  if (random.OneIn(20)) tri.texEnvMode = random.Pick({4u, 0xFFFFFFFFu});
  tri.texEnvColor = random.Word();
  tri.filterMode = random.Below(3);
  if (random.OneIn(20)) tri.filterMode = random.Pick({3u, 0xFFFFFFFFu});
}

void SetDepths(RandomSource& random, TriangleRecord& tri) {
  const bool quantised = random.OneIn(2);
  const bool flat = random.OneIn(3);
  for (int i = 0; i < 3; ++i) tri.z[i] = flat && i > 0 ? tri.z[0] : RandomDepth(random, quantised);
  tri.zMin = std::min({tri.z[0], tri.z[1], tri.z[2]});
  tri.zMax = std::max({tri.z[0], tri.z[1], tri.z[2]});
  if (random.OneIn(16)) {
    tri.zMin = -1e30f;
    tri.zMax = 1e30f;
  } else if (random.OneIn(16)) {
    tri.zMin = RandomDepth(random, true);
    tri.zMax = RandomDepth(random, true);
  }
}

void Reverse(TriangleRecord& tri) {
  std::swap(tri.x[1], tri.x[2]);
  std::swap(tri.y[1], tri.y[2]);
  std::swap(tri.z[1], tri.z[2]);
  std::swap(tri.color[1], tri.color[2]);
  std::swap(tri.s[1], tri.s[2]);
  std::swap(tri.t[1], tri.t[2]);
  std::swap(tri.invW[1], tri.invW[2]);
}

void AddTriangles(RandomSource& random, RandomTile& tile) {
  const std::uint32_t count = random.OneIn(3) ? 1 : 1 + random.Below(12);
  tile.triangles.clear();
  for (std::uint32_t n = 0; n < count; ++n) {
    TriangleRecord tri{};
    if (n > 0 && random.OneIn(4)) {
      // The neighbour across an edge, or the same triangle once more, with a state of its own or the same.
      tri = tile.triangles.back();
      if (random.OneIn(2)) {
        const std::uint32_t moved = random.Below(3);
        tri.x[moved] = tri.x[(moved + 1) % 3] + tri.x[(moved + 2) % 3] - tri.x[moved];
        tri.y[moved] = tri.y[(moved + 1) % 3] + tri.y[(moved + 2) % 3] - tri.y[moved];
      }
      if (random.OneIn(2)) SetState(random, tile, tri);
      if (random.OneIn(3)) SetDepths(random, tri);
      if (random.OneIn(3)) tri.depthFunc = random.Pick({2u, 3u, 3u, 4u});
    } else {
      PlaceVertices(random, tile.x0, tile.y0, tri);
      SetState(random, tile, tri);
      SetDepths(random, tri);
      const std::int32_t texels = tri.textureIndex < tile.textureCount ? tile.textures[tri.textureIndex].width : 8;
      SetVaryings(random, texels, tri);
    }
    if (random.OneIn(3)) Reverse(tri);
    tile.triangles.push_back(tri);
  }
  tile.entries.clear();
  for (std::uint32_t n = 0; n < count; ++n) tile.entries.push_back(random.OneIn(16) ? random.Below(count) : n);
  tile.entryCount = static_cast<std::int32_t>(count);
  if (random.OneIn(1000)) tile.entryCount = random.Pick({0, -1, std::numeric_limits<std::int32_t>::min()});
}

}  // namespace

KernelFrameArgs RandomTile::Args(std::uint32_t* colorWords, float* depthWords) const {
  const auto before = [this](std::uint32_t stride) {
    return 4 * (static_cast<std::uintptr_t>(originY) * stride + static_cast<std::uintptr_t>(originX));
  };
  KernelFrameArgs args{};
  args.colorStrideBytes = colorStride * 4;
  args.colorPixels = reinterpret_cast<std::uint32_t*>(reinterpret_cast<std::uintptr_t>(colorWords + kGuardWords) -
                                                      before(colorStride));
  args.depthPixels =
      reinterpret_cast<float*>(reinterpret_cast<std::uintptr_t>(depthWords + kGuardWords) - before(depthStride));
  args.depthStrideBytes = depthStride * 4;
  args.triangles = triangles.data();
  args.textureCache = textures.data();
  args.textureCacheCount = textureCount;
  args.kernelMode = kernelMode;
  return args;
}

void MakeRandomTile(std::uint64_t seed, RandomTile& tile) {
  RandomSource random(seed);
  tile.seed = seed;
  FillBuffers(random, tile);
  MakeTextures(random, tile);
  AddTriangles(random, tile);
  tile.kernelMode = random.Pick({0, 1, 1, 1, 2, -1, 1});
  tile.hizCell = random.OneIn(2)    ? 1.0f
                 : random.OneIn(10) ? random.Pick({kProcessorNan, kInfinity, -1.0f, 0.0f})
                                    : QuantisedDepth(random);
}

std::string RandomTile::Describe() const {
  std::string text;
  char line[512];
  const auto print = [&](const char* format, auto... values) {
    std::snprintf(line, sizeof line, format, values...);
    text += line;
  };
  print("seed %llu: tile (%d, %d) to (%d, %d), mode %d, %d entries, cell %.9g\n", static_cast<unsigned long long>(seed),
        x0, y0, x1, y1, kernelMode, entryCount, static_cast<double>(hizCell));
  for (std::int32_t n = 0; n < entryCount; ++n) {
    const TriangleRecord& tri = triangles[entries[static_cast<std::size_t>(n)]];
    print("  %d:", n);
    for (int i = 0; i < 3; ++i) {
      print(" (x %.9g y %.9g z %.9g color %08X s %.9g t %.9g invW %.9g)", static_cast<double>(tri.x[i]),
            static_cast<double>(tri.y[i]), static_cast<double>(tri.z[i]), tri.color[i], static_cast<double>(tri.s[i]),
            static_cast<double>(tri.t[i]), static_cast<double>(tri.invW[i]));
    }
    print("\n     texture %d blend %d alpha %u depth test %u func %d write %u env %d %08X filter %d z %.9g to %.9g\n",
          static_cast<int>(tri.textureIndex), static_cast<int>(tri.blendMode), tri.alphaTest, tri.depthTest,
          static_cast<int>(tri.depthFunc), tri.depthWrite, static_cast<int>(tri.texEnvMode), tri.texEnvColor,
          static_cast<int>(tri.filterMode), static_cast<double>(tri.zMin), static_cast<double>(tri.zMax));
    if (tri.textureIndex < textureCount) {
      const TextureCacheEntry& entry = textures[tri.textureIndex];
      print("     %d by %d, base level %d, clamp %d %d, levels", entry.width, entry.height, entry.baseLevel,
            entry.wrapClampS, entry.wrapClampT);
      for (int level = 0; level < kMaxLevels; ++level) {
        if (entry.levelWidth[level] != 0) print(" %dx%d", entry.levelWidth[level], entry.levelHeight[level]);
      }
      text += "\n";
    }
  }
  return text;
}

}  // namespace tlr2::judge
