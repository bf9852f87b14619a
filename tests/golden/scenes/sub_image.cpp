// Sub-image updates, minified by mip levels and through a texture with repeat and clamp.
#include "scene.h"

namespace tlr2::golden {
namespace {

void Draw() {
  ClearAll(0.2f, 0.2f, 0.3f);
  PixelCoordinates();
  glEnable(gl::kTexture2D);
  MakeTexture(Noise(64, 7), gl::kLinearMipmapLinear, gl::kLinear, gl::kRepeat);
  const Image patch = Board(16, 4, 0xFFFFE040u, 0xFF2040C0u);
  glTexSubImage2D(gl::kTexture2D, 0, 8, 40, 16, 16, gl::kBgra, gl::kUnsignedByte, patch.texels.data());
  Rectangle(10, 10, 160, 160, 0, 2, 2);
  Rectangle(170, 10, 200, 40, 0);
  Rectangle(210, 10, 220, 20, 0);
  glTexParameteri(gl::kTexture2D, gl::kTextureWrapS, static_cast<int>(gl::kClamp));
  Rectangle(170, 60, 310, 160, 0, 2, 2);
  glTexParameteri(gl::kTexture2D, gl::kTextureMinFilter, static_cast<int>(gl::kLinear));
  Rectangle(10, 170, 310, 230, 0, 6, 1);  // both filters linear: it never repeats
}

const Scene scene("sub_image", Draw);

}  // namespace
}  // namespace tlr2::golden
