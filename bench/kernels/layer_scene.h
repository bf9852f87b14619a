// Screens full of triangles, binned into micro tiles, for timing the tile kernels with no driver around them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "records/kernel_args.h"

namespace tlr2::bench {

enum class Scene {
  kNearest,         // eight layers back to front, LESS, noisy texels
  kBilinear,        // the same, both filters linear
  kBilinearSmooth,  // bilinear over a low-contrast gradient: most quads share one shaded pixel
  kTrilinear,       // minified two to four times
  kUntextured,      // a colour a vertex
  kFlat,            // one colour a triangle
  kBlended,         // bilinear, alpha 0.5, depth tested, not written
  kAdditive,        // the same, added
  kFrontToBack,     // LEQUAL, nearest layer first: the depth bound hides the rest
  kSmallTriangles,  // 10 pixels each, nearest, LEQUAL, back to front
};

constexpr struct {
  const char* name;
  Scene scene;
} kNamedScenes[] = {
    {"nearest", Scene::kNearest},
    {"bilinear", Scene::kBilinear},
    {"bilinear_smooth", Scene::kBilinearSmooth},
    {"trilinear", Scene::kTrilinear},
    {"untextured", Scene::kUntextured},
    {"flat", Scene::kFlat},
    {"blended", Scene::kBlended},
    {"additive", Scene::kAdditive},
    {"front_to_back", Scene::kFrontToBack},
    {"small_triangles", Scene::kSmallTriangles},
};

class LayerScene {
 public:
  explicit LayerScene(Scene scene);
  void ClearDepth();
  /// Runs `kernel` over every tile; returns the number of pixels that the layers cover, hidden ones included.
  std::int64_t Draw(TileKernelFn kernel);
  std::int64_t TriangleCount() const { return static_cast<std::int64_t>(triangles_.size()); }
  std::uint64_t ColorHash() const;

 private:
  void AddLayer(Scene scene, int layer, int columns, int rows, float repeat);
  void AddTriangle(const TriangleRecord& triangle);
  void MakeTexture(Scene scene);

  std::vector<std::uint32_t> texels_;
  TextureCacheEntry entry_ = {};
  std::vector<TriangleRecord> triangles_;
  std::vector<std::vector<std::uint32_t>> lists_;
  std::vector<std::uint32_t> color_;
  std::vector<float> depth_;
  std::vector<float> bounds_;
  std::int64_t pixels_ = 0;
};

}  // namespace tlr2::bench
