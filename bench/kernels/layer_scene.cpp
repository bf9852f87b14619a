// Builds the layers: a jittered grid a layer, in screen coordinates with the depths and divisors of a perspective view.
#include "layer_scene.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace tlr2::bench {
namespace {

constexpr int kWidth = 1280, kHeight = 720, kLayers = 8;
constexpr int kColumns = kWidth / 8, kRows = kHeight / 8;
constexpr int kTexture = 256;

struct Vertex {
  float x, y, z, invW, s, t;
  std::uint32_t color;
};

std::uint32_t Gray(unsigned level, unsigned alpha) { return alpha << 24 | level << 16 | level << 8 | level; }

}  // namespace

void LayerScene::MakeTexture(Scene scene) {
  std::mt19937 random(7);
  entry_.width = entry_.height = kTexture;
  std::size_t total = 0;
  for (int size = kTexture; size > 0; size /= 2)
    total += static_cast<std::size_t>(size) * static_cast<std::size_t>(size);
  texels_.assign(total + 2, 0);
  std::size_t offset = 0;
  for (int level = 0, size = kTexture; size > 0; ++level, size /= 2) {
    entry_.levelWidth[level] = entry_.levelHeight[level] = size;
    entry_.levelStrideBytes[level] = size * 4;
    entry_.levelTexelBytes[level] = 4;
    entry_.levelOffsetBytes[level] = static_cast<std::int32_t>(offset * 4);
    for (int y = 0; y < size; ++y) {
      for (int x = 0; x < size; ++x) {
        std::uint32_t texel;
        if (scene == Scene::kBilinearSmooth) {
          texel = Gray(120 + 8u * static_cast<unsigned>(x) / kTexture + (random() & 1), 255);
        } else {
          const unsigned level2 = ((x / 8 + y / 8) & 1) != 0 ? 160 : 40;
          const unsigned alpha = scene == Scene::kBlended ? 128 : 255;
          const auto grain = [&] { return level2 + static_cast<unsigned>(random() % 91); };
          texel = alpha << 24 | grain() << 16;
          texel |= grain() << 8;
          texel |= grain();
        }
        texels_[1 + offset++] = texel;
      }
    }
  }
  entry_.texels[0] =
      static_cast<std::uint64_t>(static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(&texels_[1])));
}

void LayerScene::AddTriangle(const TriangleRecord& triangle) {
  TriangleRecord t = triangle;
  t.zMin = std::min({t.z[0], t.z[1], t.z[2]});
  t.zMax = std::max({t.z[0], t.z[1], t.z[2]});
  const auto index = static_cast<std::uint32_t>(triangles_.size());
  triangles_.push_back(t);
  const auto bound = [](float v, int limit) { return std::clamp(static_cast<int>(v), 0, limit); };
  const int x0 = bound(std::floor(std::min({t.x[0], t.x[1], t.x[2]})), kWidth) / 8;
  const int y0 = bound(std::floor(std::min({t.y[0], t.y[1], t.y[2]})), kHeight) / 8;
  const int x1 = (bound(std::ceil(std::max({t.x[0], t.x[1], t.x[2]})), kWidth) + 7) / 8;
  const int y1 = (bound(std::ceil(std::max({t.y[0], t.y[1], t.y[2]})), kHeight) + 7) / 8;
  const float area = (t.x[1] - t.x[0]) * (t.y[2] - t.y[0]) - (t.x[2] - t.x[0]) * (t.y[1] - t.y[0]);
  const float sign = area < 0 ? -1.0f : 1.0f;
  for (int row = y0; row < y1; ++row) {
    for (int column = x0; column < x1; ++column) {
      bool outside = false;
      for (int i = 0; i < 3 && !outside; ++i) {
        const int j = (i + 1) % 3;
        const float a = -(t.y[j] - t.y[i]) * sign, b = (t.x[j] - t.x[i]) * sign;
        const float x = static_cast<float>(column * 8 + (a < 0 ? 0 : 8)),
                    y = static_cast<float>(row * 8 + (b < 0 ? 0 : 8));
        outside = a * (x - t.x[i]) + b * (y - t.y[i]) < 0;
      }
      if (!outside) lists_[static_cast<std::size_t>(row * kColumns + column)].push_back(index);
    }
  }
}

void LayerScene::AddLayer(Scene scene, int layer, int columns, int rows, float repeat) {
  std::mt19937 random(static_cast<unsigned>(layer) + 1);
  std::uniform_real_distribution<float> jitter(-0.3f, 0.3f);
  const bool textured = scene != Scene::kUntextured && scene != Scene::kFlat;
  std::vector<Vertex> grid;
  for (int row = 0; row <= rows; ++row) {
    for (int column = 0; column <= columns; ++column) {
      const bool rim = row == 0 || column == 0 || row == rows || column == columns;
      const float u = (static_cast<float>(column) + (rim ? 0.0f : jitter(random))) / static_cast<float>(columns);
      const float v = (static_cast<float>(row) + (rim ? 0.0f : jitter(random))) / static_cast<float>(rows);
      const float w = (4.0f + 2.0f * static_cast<float>(layer)) * (1.0f + 0.1f * (u - 0.5f) + 0.05f * (v - 0.5f));
      Vertex vertex = {};
      vertex.x = u * (kWidth + 2.0f) - 1.0f;
      vertex.y = v * (kHeight + 2.0f) - 1.0f;
      vertex.z = 100.0f / 99.0f * (1.0f - 1.0f / w);
      vertex.invW = 1.0f / w;
      vertex.s = u * repeat;
      vertex.t = v * repeat;
      vertex.color = 0xFFFFFFFF;
      if (scene == Scene::kUntextured || scene == Scene::kFlat) vertex.color = 0xFF000000u | (random() & 0xFFFFFFu);
      if (scene == Scene::kBlended || scene == Scene::kAdditive) vertex.color = 0x80000000u | (random() & 0xFFFFFFu);
      grid.push_back(vertex);
    }
  }
  TriangleRecord state = {};
  state.textureIndex = textured ? 0 : kNoTexture;
  state.depthTest = 1;
  state.depthFunc = scene == Scene::kFrontToBack || scene == Scene::kSmallTriangles ? 2 : 1;
  state.depthWrite = scene == Scene::kBlended || scene == Scene::kAdditive ? 0 : 1;
  state.blendMode = scene == Scene::kBlended ? 3 : scene == Scene::kAdditive ? 1 : 0;
  state.filterMode = scene == Scene::kNearest || scene == Scene::kSmallTriangles || scene == Scene::kFrontToBack ? 0
                     : scene == Scene::kTrilinear                                                                ? 1
                                                                                                                 : 2;
  const auto add = [&](int a, int b, int c) {
    TriangleRecord t = state;
    const int corner[3] = {a, b, c};
    for (int i = 0; i < 3; ++i) {
      const Vertex& vertex = grid[static_cast<std::size_t>(corner[i])];
      t.x[i] = vertex.x;
      t.y[i] = vertex.y;
      t.z[i] = vertex.z;
      t.invW[i] = vertex.invW;
      t.s[i] = vertex.s;
      t.t[i] = vertex.t;
      t.color[i] = scene == Scene::kFlat ? grid[static_cast<std::size_t>(a)].color : vertex.color;
    }
    AddTriangle(t);
  };
  for (int row = 0; row < rows; ++row) {
    for (int column = 0; column < columns; ++column) {
      const int first = row * (columns + 1) + column;
      add(first, first + columns + 1, first + columns + 2);
      add(first, first + columns + 2, first + 1);
    }
  }
  pixels_ += std::int64_t{kWidth} * kHeight;
}

LayerScene::LayerScene(Scene scene) {
  lists_.resize(static_cast<std::size_t>(kColumns) * kRows);
  color_.assign(static_cast<std::size_t>(kWidth) * kHeight, 0xFF000000u);
  depth_.assign(static_cast<std::size_t>(kWidth) * kHeight, 1.0f);
  bounds_.assign(lists_.size(), 1.0f);
  MakeTexture(scene);
  const bool small = scene == Scene::kSmallTriangles;
  const float repeat = scene == Scene::kTrilinear                                 ? 12.0f
                       : scene == Scene::kNearest || scene == Scene::kFrontToBack ? 2.0f
                                                                                  : 1.0f;
  for (int i = 0; i < (small ? 1 : kLayers); ++i) {
    const int layer = scene == Scene::kFrontToBack ? i : kLayers - 1 - i;
    if (small) {
      AddLayer(scene, layer, 286, 160, 14.0f);
    } else {
      AddLayer(scene, layer, 4, 3, repeat);
    }
  }
}

void LayerScene::ClearDepth() {
  std::fill(depth_.begin(), depth_.end(), 1.0f);
  std::fill(bounds_.begin(), bounds_.end(), 1.0f);
}

std::int64_t LayerScene::Draw(TileKernelFn kernel) {
  KernelFrameArgs args = {};
  args.colorStrideBytes = args.depthStrideBytes = kWidth * 4;
  args.colorPixels = color_.data();
  args.depthPixels = depth_.data();
  args.triangles = triangles_.data();
  args.textureCache = &entry_;
  args.textureCacheCount = 1;
  args.kernelMode = 1;
  for (int row = 0; row < kRows; ++row) {
    for (int column = 0; column < kColumns; ++column) {
      const auto tile = static_cast<std::size_t>(row * kColumns + column);
      const auto& list = lists_[tile];
      if (list.empty()) continue;
      kernel(&args, column * 8, row * 8, column * 8 + 8, row * 8 + 8, list.data(),
             static_cast<std::int32_t>(list.size()), &bounds_[tile]);
    }
  }
  return pixels_;
}

std::uint64_t LayerScene::ColorHash() const {
  std::uint64_t hash = 0xCBF29CE484222325u;
  for (const std::uint32_t word : color_) hash = (hash ^ word) * 0x100000001B3u;
  return hash;
}

}  // namespace tlr2::bench
