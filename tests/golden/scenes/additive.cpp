// Lights that add up and saturate.
#include "scene.h"

namespace tlr2::golden {
namespace {

void Draw() {
  ClearAll(0.1f, 0.1f, 0.1f);
  PixelCoordinates();
  Image glow = MakeImage(64, 64, 0xFF000000u);
  for (int y = 0; y < 64; ++y)
    for (int x = 0; x < 64; ++x) {
      const int d = (x - 32) * (x - 32) + (y - 32) * (y - 32);
      const std::uint32_t level = static_cast<std::uint32_t>(d < 1024 ? (1024 - d) / 5 : 0);
      glow.At(x, y) = 0xFF000000u | level << 16 | level << 8 | level;
    }
  MakeTexture(glow, gl::kLinear, gl::kLinear, gl::kClamp);
  glEnable(gl::kTexture2D);
  glEnable(gl::kBlend);
  glBlendFunc(gl::kOne, gl::kOne);
  glColor3f(1, 0.3f, 0.2f);
  Rectangle(20, 40, 200, 220, 0);
  glColor3f(0.2f, 1, 0.3f);
  Rectangle(110, 40, 290, 220, 0);
  glColor3f(0.3f, 0.2f, 1);
  Rectangle(65, 0, 245, 150, 0);
  glColor3f(1, 1, 1);
  Rectangle(130, 70, 190, 130, 0);
  Rectangle(130, 70, 190, 130, 0);
}

const Scene scene("additive", Draw);

}  // namespace
}  // namespace tlr2::golden
