// A third frame that clears nothing stands on the picture of the first: buffers alternate.
#include "scene.h"

namespace tlr2::golden {
namespace {

void Draw() {
  PixelCoordinates();
  ClearAll(0, 0.3f, 0);
  glColor3f(1, 1, 0);
  Rectangle(20, 20, 140, 220, 0);
  // What was pending at a frame's start is restored with its keyframe, so a clear repeats; a read-back ends that.
  std::uint32_t pixel = 0;
  glReadPixels(0, 0, 1, 1, gl::kBgra, gl::kUnsignedByte, &pixel);
  glColor3f(1, 0.5f, 0);
  Rectangle(40, 40, 120, 200, 0);
  NextFrame();
  glColor3f(0, 0, 1);
  Rectangle(180, 20, 300, 220, 0);
  NextFrame();
  glColor3f(1, 1, 1);
  Rectangle(150, 100, 170, 140, 0);
}

const Scene scene("frame_without_clear", Draw);

}  // namespace
}  // namespace tlr2::golden
