// The same triangle in four viewports, one of them reaching past the window's top.
#include "scene.h"

namespace tlr2::golden {
namespace {

void Tile(int x, int y, int w, int h) {
  glViewport(x, y, w, h);
  glBegin(gl::kTriangles);
  glColor3f(1, 1, 0);
  glVertex2f(-1, -1);
  glColor3f(0, 1, 1);
  glVertex2f(1, -1);
  glColor3f(1, 0, 1);
  glVertex2f(1, 1);
  glEnd();
}

void Draw() {
  ClearAll(0.2f, 0.2f, 0.2f);
  Tile(0, 0, 100, 80);
  Tile(120, 40, 100, 80);
  Tile(0, 150, 60, 80);
  Tile(200, 180, 110, 120);
}

const Scene scene("viewport_offset", Draw);

}  // namespace
}  // namespace tlr2::golden
