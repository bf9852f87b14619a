// Every primitive that draws, and the ones that draw nothing.
#include "scene.h"

namespace tlr2::golden {
namespace {

void Shape(std::uint32_t mode, int count, float x, float y) {
  const float points[8][2] = {{0, 0}, {30, 0}, {4, 40}, {36, 36}, {10, 70}, {44, 76}, {16, 96}, {60, 90}};
  glBegin(mode);
  for (int i = 0; i < count; ++i) {
    glColor3f(i % 3 == 0 ? 1.0f : 0.2f, i % 3 == 1 ? 1.0f : 0.2f, i % 3 == 2 ? 1.0f : 0.2f);
    glVertex2f(x + points[i][0], y + points[i][1]);
  }
  glEnd();
}

void Draw() {
  ClearAll(0.15f, 0.15f, 0.15f);
  PixelCoordinates();
  Shape(gl::kTriangles, 7, 10, 130);  // the seventh vertex is dropped
  Shape(gl::kTriangleStrip, 8, 80, 130);
  Shape(gl::kTriangleFan, 6, 155, 130);
  Shape(gl::kPolygon, 5, 230, 130);
  Shape(gl::kQuads, 8, 10, 15);
  Shape(gl::kQuadStrip, 7, 80, 15);
  Shape(gl::kLines, 8, 155, 15);
  Shape(gl::kPoints, 8, 155, 15);
  Shape(gl::kLineLoop, 8, 155, 15);
  Shape(gl::kTriangles, 2, 155, 15);
  Shape(gl::kTriangles, 3, 230, 15);
}

const Scene scene("primitives", Draw);

}  // namespace
}  // namespace tlr2::golden
