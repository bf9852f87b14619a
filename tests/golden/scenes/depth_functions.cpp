// Each depth function in a column: red at three depths, then green at the middle one.
#include "scene.h"

namespace tlr2::golden {
namespace {

void Draw() {
  ClearAll(0.1f, 0.1f, 0.1f);
  PixelCoordinates();
  glEnable(gl::kDepthTest);
  const std::uint32_t functions[] = {gl::kNever,   gl::kLess,     gl::kEqual,  gl::kLequal,
                                     gl::kGreater, gl::kNotequal, gl::kGequal, gl::kAlways};
  for (int i = 0; i < 8; ++i) {
    const float x = static_cast<float>(i * 40 + 3);
    glDepthFunc(gl::kAlways);
    glColor3f(0.8f, 0.2f, 0.1f);
    Rectangle(x, 10, x + 34, 80, 0.5f);
    Rectangle(x, 85, x + 34, 155, 0);
    Rectangle(x, 160, x + 34, 230, -0.5f);
    glDepthFunc(functions[i]);
    glColor3f(0.1f, 0.8f, 0.2f);
    Rectangle(x + 8, 20, x + 26, 220, 0);
  }
  // Not written: the later rectangle is tested against what was there before.
  glDepthFunc(gl::kLess);
  glDepthMask(0);
  glColor3f(1, 1, 1);
  Rectangle(0, 2, kWidth, 6, 0.5f);
  glDepthMask(1);
  glColor3f(0, 0, 1);
  Rectangle(100, 2, 200, 6, 0);
}

const Scene scene("depth_functions", Draw);

}  // namespace
}  // namespace tlr2::golden
