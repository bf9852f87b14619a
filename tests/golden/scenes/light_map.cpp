// A light map multiplied on to a textured wall in a second pass at equal depth.
#include "scene.h"

namespace tlr2::golden {
namespace {

void Wall() {
  glBegin(gl::kQuads);
  glTexCoord2f(0, 0);
  glVertex3f(-3, -2, -3);
  glTexCoord2f(1, 0);
  glVertex3f(4, -2, -9);
  glTexCoord2f(1, 1);
  glVertex3f(4, 2, -9);
  glTexCoord2f(0, 1);
  glVertex3f(-3, 2, -3);
  glEnd();
}

void Draw() {
  ClearAll(0.3f, 0.3f, 0.4f);
  Perspective();
  glEnable(gl::kDepthTest);
  glDepthFunc(gl::kLequal);
  glEnable(gl::kTexture2D);
  MakeTexture(Board(128, 16, 0xFFC0A080u, 0xFF806040u), gl::kLinearMipmapLinear, gl::kLinear, gl::kRepeat);
  Wall();
  Image light = MakeImage(8, 8, 0xFF303030u);
  light.At(2, 5) = light.At(3, 5) = 0xFFFFFFFFu;
  light.At(6, 2) = 0xFF80FFFFu;
  MakeTexture(light, gl::kLinear, gl::kLinear, gl::kClamp);
  glEnable(gl::kBlend);
  glBlendFunc(gl::kZero, gl::kSrcColor);
  Wall();
}

const Scene scene("light_map", Draw);

}  // namespace
}  // namespace tlr2::golden
