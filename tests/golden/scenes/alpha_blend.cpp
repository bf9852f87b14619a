// Three half-transparent rectangles over a board, drawn in order.
#include "scene.h"

namespace tlr2::golden {
namespace {

void Draw() {
  ClearAll(0, 0, 0);
  PixelCoordinates();
  glEnable(gl::kTexture2D);
  MakeTexture(Board(64, 8, 0xFFFFFFFFu, 0xFF606060u), gl::kNearest, gl::kNearest, gl::kRepeat);
  Rectangle(0, 0, kWidth, kHeight, 0, 2, 2);
  glDisable(gl::kTexture2D);
  glEnable(gl::kBlend);
  glBlendFunc(gl::kSrcAlpha, gl::kOneMinusSrcAlpha);
  glColor4f(1, 0, 0, 0.5f);
  Rectangle(30, 40, 180, 160, 0);
  glColor4f(0, 1, 0, 0.5f);
  Rectangle(90, 80, 240, 200, 0);
  glColor4f(0, 0, 1, 0.25f);
  Rectangle(150, 20, 300, 130, 0);
  glColor4f(1, 1, 0, 1);  // opaque
  Rectangle(10, 210, 60, 235, 0);
}

const Scene scene("alpha_blend", Draw);

}  // namespace
}  // namespace tlr2::golden
