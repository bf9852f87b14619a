// Foliage: holes where the texel's alpha is low, and no blending.
#include "scene.h"

namespace tlr2::golden {
namespace {

void Draw() {
  ClearAll(0.2f, 0.3f, 0.5f);
  PixelCoordinates();
  Image leaf = MakeImage(32, 32, 0x00FF00FFu);
  for (int y = 0; y < 32; ++y)
    for (int x = 0; x < 32; ++x) {
      const int dx = x - 16, dy = y - 16;
      const std::uint32_t alpha = static_cast<std::uint32_t>(dx * dx + dy * dy < 225 ? 255 - (dx * dx + dy * dy) : 0);
      leaf.At(x, y) = alpha << 24 | 0x208030u;
    }
  glEnable(gl::kTexture2D);
  glEnable(gl::kAlphaTest);
  glAlphaFunc(gl::kGreater, 0.5f);
  MakeTexture(leaf, gl::kNearest, gl::kNearest, gl::kRepeat);
  Rectangle(10, 10, 150, 150, 0, 3, 3);
  MakeTexture(leaf, gl::kLinear, gl::kLinear, gl::kClamp);
  Rectangle(130, 60, 310, 230, 0);
  glAlphaFunc(gl::kGequal, 0.5f);  // no test at all: the whole square shows
  Rectangle(10, 170, 70, 230, 0);
}

const Scene scene("alpha_test", Draw);

}  // namespace
}  // namespace tlr2::golden
