// Triangles of both windings under each culling state; a column a state.
#include "scene.h"

namespace tlr2::golden {
namespace {

void Pair(float x) {
  glBegin(gl::kTriangles);
  glColor3f(0.2f, 0.9f, 0.3f);  // counter-clockwise as seen
  glVertex2f(x, 130);
  glVertex2f(x + 40, 130);
  glVertex2f(x + 20, 220);
  glColor3f(0.9f, 0.3f, 0.2f);  // clockwise
  glVertex2f(x, 20);
  glVertex2f(x + 20, 110);
  glVertex2f(x + 40, 20);
  glEnd();
}

void Draw() {
  ClearAll(0.1f, 0.1f, 0.2f);
  PixelCoordinates();
  Pair(5);
  glEnable(gl::kCullFace);
  Pair(60);
  glCullFace(gl::kFront);
  Pair(115);
  glCullFace(gl::kFrontAndBack);
  Pair(170);
  glFrontFace(gl::kCw);
  glCullFace(gl::kBack);
  Pair(225);
  glCullFace(gl::kFront);
  Pair(275);
}

const Scene scene("culling", Draw);

}  // namespace
}  // namespace tlr2::golden
