// A clear that comes last still comes before the frame's triangles.
#include "scene.h"

namespace tlr2::golden {
namespace {

void Draw() {
  ClearAll(1, 0, 0);
  PixelCoordinates();
  glColor3f(1, 1, 1);
  Rectangle(60, 60, 260, 180, 0);
  glClearColor(0, 0, 0.6f, 1);
  glClear(gl::kColorBufferBit);
}

const Scene scene("clear_last", Draw);

}  // namespace
}  // namespace tlr2::golden
