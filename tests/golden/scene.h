// A golden scene: a few calls of the exported functions that draw one picture.
#pragma once

#include <cstdint>
#include <vector>

#include "api/table/prototypes.h"
#include "base/gl.h"

namespace tlr2::golden {

inline constexpr int kWidth = 320, kHeight = 240;

/// Draws one picture into a fresh context of kWidth by kHeight with identity matrices and a full viewport. The harness
/// swaps after the last call; a scene of several frames swaps between them with `NextFrame`.
using SceneFn = void (*)();

/// One line at the end of each scene's file makes it known.
struct Scene {
  Scene(const char* name, SceneFn draw);
  const char* name;
  SceneFn draw;
  Scene* next;
};
extern Scene* firstScene;

void NextFrame();

/// Perspective with the eye at the origin, looking down the negative z axis.
void Perspective();
/// x from 0 to kWidth, y from 0 to kHeight upwards.
void PixelCoordinates();
void ClearAll(float r, float g, float b);

/// 0xAARRGGBB texels, rows from t = 0 upwards.
struct Image {
  int width, height;
  std::vector<std::uint32_t> texels;
  std::uint32_t& At(int x, int y) { return texels[static_cast<std::size_t>(y * width + x)]; }
};
Image MakeImage(int width, int height, std::uint32_t fill);
/// A chequered board with a few marks, so that each corner and direction can be told apart.
Image Board(int size, int squares, std::uint32_t light, std::uint32_t dark);
/// Fixed noise: the same texels on every system.
Image Noise(int size, std::uint32_t seed);

/// Makes and binds a texture; the filters and the wrap as named.
std::uint32_t MakeTexture(const Image& image, std::uint32_t minFilter, std::uint32_t magFilter, std::uint32_t wrap);

/// A rectangle in the present coordinates at depth z, texture coordinates from (0,0) to (s,t).
void Rectangle(float x0, float y0, float x1, float y1, float z, float s = 1, float t = 1);
/// A floor from the feet to the horizon, `repeats` textures to each side.
void Floor(float repeats);

}  // namespace tlr2::golden
