// A second, smaller viewport, from the call to the rectangles that the kernel is called with and to the pixels.
#include <algorithm>
#include <mutex>
#include <set>
#include <tuple>

#include "entry_fixture.h"
#include "frame/replay.h"
#include "kernels/tile_kernel.h"
#include "tiles/frame_tasks.h"
#include "wgl/context.h"

namespace tlr2 {
namespace {

using Rectangle = std::tuple<std::int32_t, std::int32_t, std::int32_t, std::int32_t>;
std::mutex rectangleLock;
std::set<Rectangle> rectangles;

/// Draws as the driver's own does.
void NotingKernel(const KernelFrameArgs* args, std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1,
                  const std::uint32_t* entries, std::int32_t count, float* hizCell) {
  {
    const std::lock_guard<std::mutex> held(rectangleLock);
    rectangles.insert({x0, y0, x1, y1});
  }
  tlr2_TileKernel(args, x0, y0, x1, y1, entries, count, hizCell);
}

class SmallerViewport : public EntriesWithContext {
 protected:
  static constexpr std::int32_t kWidth = 61, kHeight = 45;
  static constexpr std::uint32_t kGround = 0xFF0000FFu, kRed = 0xFFFF0000u;

  void SetUp() override {
    Make(kWidth, kHeight);
    rectangles.clear();
  }
  /// Red over whatever the viewport is, on a blue ground.
  static void Draw() {
    glClearColor(0, 0, 1, 1);
    glClear(gl::kColorBufferBit | gl::kDepthBufferBit);
    glMatrixMode(gl::kProjection);
    glLoadIdentity();
    glMatrixMode(gl::kModelview);
    glLoadIdentity();
    glColor4ub(255, 0, 0, 255);
    glBegin(gl::kQuads);
    glVertex2f(-1, -1);
    glVertex2f(1, -1);
    glVertex2f(1, 1);
    glVertex2f(-1, 1);
    glEnd();
  }
  void Render() {
    ASSERT_TRUE(ReplayFrame(stream(), nullptr, false));
    const Surface& surface = static_cast<ContextRecord*>(context)->surface;
    ASSERT_EQ(surface.width, kWidth);
    ASSERT_EQ(surface.height, kHeight);
    depth.assign(static_cast<std::size_t>(kWidth * kHeight), 1.0f);
    color.assign(depth.size(), 0);
    SurfaceView view;
    view.colorBuffer = color.data();
    view.depthBuffer = depth.data();
    view.width = kWidth;
    view.height = kHeight;
    view.rowPitch = kWidth * 4;
    RenderFrameWith(view, RenderOptions{}, FrameOverrides{NotingKernel, 0});
  }

  std::vector<std::uint32_t> color;
  std::vector<float> depth;
};

TEST_F(SmallerViewport, DrawsIntoTheTopLeftPartOfTheLargerGridInWholeTiles) {
  constexpr std::int32_t kPartWidth = 21, kPartHeight = 13;
  glViewport(0, 0, kWidth, kHeight);
  glViewport(0, 0, kPartWidth, kPartHeight);
  EXPECT_EQ(state().fbWidth, kWidth);
  EXPECT_EQ(state().fbHeight, kHeight);
  Draw();
  Render();
  EXPECT_EQ(state().fbWidth, kWidth);
  EXPECT_EQ(state().fbHeight, kHeight);
  for (std::int32_t y = 0; y < kHeight; ++y)
    for (std::int32_t x = 0; x < kWidth; ++x)
      ASSERT_EQ(color[static_cast<std::size_t>(y * kWidth + x)], x < kPartWidth && y < kPartHeight ? kRed : kGround)
          << x << ", " << y;
  EXPECT_EQ(rectangles,
            (std::set<Rectangle>{
                {0, 0, 8, 8}, {8, 0, 16, 8}, {16, 0, 24, 8}, {0, 8, 8, 16}, {8, 8, 16, 16}, {16, 8, 24, 16}}))
      << "tiles at the viewport's edge reach past it";
}

TEST_F(SmallerViewport, AtTheGridsEdgeTheTilesEndWithTheGrid) {
  constexpr std::int32_t kPartWidth = 59, kPartHeight = 43;  // ends within the last column and row of tiles
  glViewport(0, 0, kWidth, kHeight);
  glViewport(0, 0, kPartWidth, kPartHeight);
  Draw();
  Render();
  for (std::int32_t y = 0; y < kHeight; ++y)
    for (std::int32_t x = 0; x < kWidth; ++x)
      ASSERT_EQ(color[static_cast<std::size_t>(y * kWidth + x)], x < kPartWidth && y < kPartHeight ? kRed : kGround)
          << x << ", " << y;
  std::set<Rectangle> expected;
  for (std::int32_t y = 0; y < kHeight; y += 8)
    for (std::int32_t x = 0; x < kWidth; x += 8)
      expected.insert({x, y, std::min(x + 8, kWidth), std::min(y + 8, kHeight)});
  EXPECT_EQ(rectangles, expected);
}

}  // namespace
}  // namespace tlr2
