// A chequered floor to the horizon. Far away it shimmers with the nearest texel and with bilinear texels of level 0,
// and turns to an even grey with blended mip levels.
#include "scene.h"

namespace tlr2::golden {
namespace {

template <std::uint32_t kMinFilter, std::uint32_t kMagFilter>
void Draw() {
  ClearAll(0.4f, 0.6f, 0.9f);
  Perspective();
  glEnable(gl::kDepthTest);
  glEnable(gl::kTexture2D);
  MakeTexture(Board(64, 8, 0xFFE0D0B0u, 0xFF403020u), kMinFilter, kMagFilter, gl::kRepeat);
  Floor(30);
}

const Scene nearest("floor_nearest", Draw<gl::kNearestMipmapNearest, gl::kNearest>);
const Scene bilinear("floor_bilinear", Draw<gl::kLinearMipmapNearest, gl::kLinear>);
const Scene trilinear("floor_trilinear", Draw<gl::kLinearMipmapLinear, gl::kLinear>);

}  // namespace
}  // namespace tlr2::golden
