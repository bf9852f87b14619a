// A chequered floor to the horizon, with bilinear texels of level 0.
#include "scene.h"

namespace tlr2::golden {
namespace {

void Draw() {
  ClearAll(0.4f, 0.6f, 0.9f);
  Perspective();
  glEnable(gl::kDepthTest);
  glEnable(gl::kTexture2D);
  MakeTexture(Board(64, 8, 0xFFE0D0B0u, 0xFF403020u), gl::kLinearMipmapNearest, gl::kLinear, gl::kRepeat);
  Floor(30);
}

const Scene scene("floor_bilinear", Draw);

}  // namespace
}  // namespace tlr2::golden
