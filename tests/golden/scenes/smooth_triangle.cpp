// One untextured triangle with a colour at each corner.
#include "scene.h"

namespace tlr2::golden {
namespace {

void Draw() {
  ClearAll(0.1f, 0.1f, 0.2f);
  glBegin(gl::kTriangles);
  glColor3f(1, 0, 0);
  glVertex3f(-0.9f, -0.8f, 0);
  glColor3f(0, 1, 0);
  glVertex3f(0.9f, -0.6f, 0);
  glColor3f(0, 0, 1);
  glVertex3f(-0.1f, 0.9f, 0);
  glEnd();
}

const Scene scene("smooth_triangle", Draw);

}  // namespace
}  // namespace tlr2::golden
