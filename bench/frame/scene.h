// A benchmark scene: set up once at a size, then drawn frame after frame.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "gl_functions.h"

namespace bench {

/// What a scene needs while it draws.
struct Stage {
  const Gl& gl;
  int width, height;
  std::vector<std::uint32_t> textures;
  std::vector<std::uint8_t> pixels;  // upload source or read-back target
  std::vector<float> numbers;        // precomputed geometry
};

struct SceneRow {
  const char* name;
  const char* title;
  void (*setUp)(Stage& stage);
  void (*draw)(Stage& stage, int frame);
  bool readsBack;  // the draw ends with its own read, which the frame's time includes
};

const std::vector<SceneRow>& Scenes();

/// A repeatable generator; the same picture for every library.
class Random {
 public:
  explicit Random(std::uint32_t seed) : state_(seed) {}
  std::uint32_t Next() {
    state_ = state_ * 1664525u + 1013904223u;
    return state_ >> 8;
  }
  float Unit() { return static_cast<float>(Next()) * (1.0f / 16777216.0f); }
  float Between(float low, float high) { return low + (high - low) * Unit(); }

 private:
  std::uint32_t state_;
};

/// Uploads RGBA texels with all levels, for libraries that do not make them.
std::uint32_t MakeTexture(const Gl& gl, int width, int height, const std::vector<std::uint8_t>& rgba, Enum minify,
                          Enum magnify, Enum wrap);
/// The common start of a frame: the standard frustum, depth LEQUAL, one clear.
void BeginPerspectiveFrame(Stage& stage);
void BeginPixelFrame(Stage& stage);
std::vector<std::uint8_t> HighContrastTexels();
std::vector<std::uint8_t> LowContrastTexels();

// Groups of scenes, joined by Scenes().
void AddLayerScenes(std::vector<SceneRow>& rows);
void AddTriangleScenes(std::vector<SceneRow>& rows);
void AddGameScene(std::vector<SceneRow>& rows);
void AddStreamScenes(std::vector<SceneRow>& rows);

}  // namespace bench
