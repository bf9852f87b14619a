// Half a picture, read back in the middle of the frame and shown again as a texture beside it.
#include "scene.h"

namespace tlr2::golden {
namespace {

void Draw() {
  ClearAll(0.1f, 0.3f, 0.3f);
  PixelCoordinates();
  glBegin(gl::kTriangles);
  glColor3f(1, 0.5f, 0);
  glVertex2f(10, 10);
  glColor3f(0, 0.5f, 1);
  glVertex2f(130, 20);
  glColor3f(1, 1, 1);
  glVertex2f(60, 130);
  glEnd();
  Image half = MakeImage(128, 128, 0);
  glReadPixels(5, 5, 128, 128, gl::kBgra, gl::kUnsignedByte, half.texels.data());
  glEnable(gl::kTexture2D);
  glColor3f(1, 1, 1);
  MakeTexture(half, gl::kNearest, gl::kNearest, gl::kClamp);
  Rectangle(170, 5, 298, 133, 0);    // the copy, upright, pixel on pixel
  Rectangle(150, 150, 310, 230, 0);  // and squashed
}

const Scene scene("read_back", Draw);

}  // namespace
}  // namespace tlr2::golden
