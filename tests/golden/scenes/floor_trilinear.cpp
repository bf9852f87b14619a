// A chequered floor to the horizon, with blended mip levels: it turns to an even grey far away.
#include "scene.h"

namespace tlr2::golden {
namespace {

void Draw() {
  ClearAll(0.4f, 0.6f, 0.9f);
  Perspective();
  glEnable(gl::kDepthTest);
  glEnable(gl::kTexture2D);
  MakeTexture(Board(64, 8, 0xFFE0D0B0u, 0xFF403020u), gl::kLinearMipmapLinear, gl::kLinear, gl::kRepeat);
  Floor(30);
}

const Scene scene("floor_trilinear", Draw);

}  // namespace
}  // namespace tlr2::golden
