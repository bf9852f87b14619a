// The small framebuffer of the tests with figures worked by hand.
#include "tile_picture.h"

#include <utility>

namespace tlr2::judge {

TriangleRecord Ramp(float leg) {
  TriangleRecord tri{};
  tri.x[1] = leg;
  tri.y[2] = leg;
  SetColor(tri, 0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu);
  for (float& w : tri.invW) w = 1.0f;
  tri.textureIndex = kNoTexture;
  return tri;
}

TriangleRecord Cover(float z, std::uint32_t color) {
  TriangleRecord tri = Ramp(64.0f);
  for (int i = 0; i < 3; ++i) {
    tri.x[i] -= 8.0f;
    tri.y[i] -= 8.0f;
    tri.z[i] = z;
  }
  tri.zMin = z;
  tri.zMax = z;
  SetColor(tri, color, color, color);
  tri.depthTest = 1;
  tri.depthFunc = 2;
  tri.depthWrite = 1;
  return tri;
}

TriangleRecord Reversed(TriangleRecord tri) {
  std::swap(tri.x[1], tri.x[2]);
  std::swap(tri.y[1], tri.y[2]);
  std::swap(tri.z[1], tri.z[2]);
  std::swap(tri.color[1], tri.color[2]);
  std::swap(tri.s[1], tri.s[2]);
  std::swap(tri.t[1], tri.t[2]);
  std::swap(tri.invW[1], tri.invW[2]);
  return tri;
}

void SetTexture(TriangleRecord& tri, std::uint32_t index, std::uint32_t filter, float s0, float perPixel, float t0) {
  tri.textureIndex = index;
  tri.filterMode = filter;
  tri.texEnvMode = 1;
  for (int i = 0; i < 3; ++i) {
    tri.s[i] = s0;
    tri.t[i] = t0;
  }
  tri.s[1] = s0 + 16.0f * perPixel;
}

TilePicture::TilePicture() {
  color_.fill(kBackground);
  depth_.fill(1.0f);
}

void TilePicture::Add(TriangleRecord tri) {
  for (int i = 0; i < 3; ++i) {
    tri.x[i] += 8.0f;
    tri.y[i] += 8.0f;
  }
  triangles_.push_back(tri);
}

std::uint32_t TilePicture::AddTexture(std::int32_t width, std::int32_t height, const std::vector<std::uint32_t>& texels,
                                      bool clamp, std::uint32_t wordAhead) {
  texels_.push_back({wordAhead});
  std::vector<std::uint32_t>& words = texels_.back();
  words.insert(words.end(), texels.begin(), texels.end());
  words.push_back(0);

  TextureCacheEntry entry{};
  entry.width = width;
  entry.height = height;
  std::int32_t offset = 0;
  for (int level = 0; offset < static_cast<std::int32_t>(texels.size() * 4); ++level) {
    entry.levelWidth[level] = width;
    entry.levelHeight[level] = height;
    entry.levelStrideBytes[level] = width * 4;
    entry.levelTexelBytes[level] = 4;
    entry.levelOffsetBytes[level] = offset;
    offset += width * height * 4;
    width = width > 1 ? width / 2 : 1;
    height = height > 1 ? height / 2 : 1;
  }
  entry.wrapClampS = clamp ? 1 : 0;
  entry.wrapClampT = clamp ? 1 : 0;
  const auto address = reinterpret_cast<std::intptr_t>(words.data() + 1);
  entry.texels[0] = static_cast<std::uint64_t>(static_cast<std::int64_t>(address));
  textures_.push_back(entry);
  return static_cast<std::uint32_t>(textures_.size() - 1);
}

std::uint32_t TilePicture::AddAbsentTexture() {
  textures_.push_back({});
  return static_cast<std::uint32_t>(textures_.size() - 1);
}

void TilePicture::DrawTile(const KernelUnderTest& kernel, std::int32_t x0, std::int32_t y0, std::int32_t columns,
                           std::int32_t rows) {
  KernelFrameArgs args{};
  args.colorStrideBytes = kSide * 4;
  args.colorPixels = color_.data();
  args.depthPixels = depth_.data();
  args.depthStrideBytes = kSide * 4;
  args.triangles = triangles_.data();
  args.textureCache = textures_.data();  // null without textures: a kernel that reads an entry anyway stops here
  args.textureCacheCount = textures_.empty() ? 1 : static_cast<std::uint32_t>(textures_.size());
  args.kernelMode = mode;
  std::vector<std::uint32_t> entries;
  for (std::size_t i = 0; i < triangles_.size(); ++i) entries.push_back(static_cast<std::uint32_t>(i));
  kernel.run(&args, x0, y0, x0 + columns, y0 + rows, entries.data(), static_cast<std::int32_t>(entries.size()), &cell);
  triangles_.clear();
}

}  // namespace tlr2::judge
