// The one-record append to the frame's triangles.
#include <gtest/gtest.h>

#include <limits>

#include "frame/emission.h"
#include "frame_fixture.h"

using namespace tlr2;
using namespace frame_test;

namespace {

class Append : public Frame {
 protected:
  Append() {
    state.fbWidth = 640;
    state.fbHeight = 480;
    state.macroCols = 20;
    state.macroRows = 15;
  }
  static TriangleRecord Box(float x0, float y0, float x1, float y1) {
    TriangleRecord r = {};
    r.x[0] = x0, r.x[1] = x1, r.x[2] = x0;
    r.y[0] = y0, r.y[1] = y0, r.y[2] = y1;
    return r;
  }
  bool Appends(const TriangleRecord& r) {
    const std::size_t before = state.triangles.size();
    EmitAndBinTriangle(r);
    return state.triangles.size() == before + 1 && SameBytes(state.triangles.back(), r);
  }
};

}  // namespace

TEST_F(Append, DropsWhatLiesOutsideTheFramebuffer) {
  EXPECT_TRUE(Appends(Box(10, 10, 20, 20)));
  EXPECT_TRUE(Appends(Box(-10, -10, 0.5f, 0.5f)));
  EXPECT_TRUE(Appends(Box(639.5f, 479.5f, 700, 700)));
  EXPECT_FALSE(Appends(Box(-10, 10, -1, 20)));
  EXPECT_FALSE(Appends(Box(-10, 10, 0, 20)));
  EXPECT_FALSE(Appends(Box(640, 10, 650, 20)));
  EXPECT_FALSE(Appends(Box(10, 480, 20, 500)));
  EXPECT_FALSE(Appends(Box(10, 10, 10, 20)));
  EXPECT_TRUE(Appends(Box(10.25f, 10.25f, 10.75f, 10.75f)));  // floor and ceiling make it a pixel
}

TEST_F(Append, NeedsAGrid) {
  state.macroRows = 0;
  EXPECT_FALSE(Appends(Box(10, 10, 20, 20)));
  state.macroRows = 15;
  state.macroCols = 0;
  EXPECT_FALSE(Appends(Box(10, 10, 20, 20)));
}

TEST_F(Append, PublishesEachSixtyFourth) {
  for (std::uint32_t i = 1; i <= 200; ++i) {
    EmitAndBinTriangle(Box(10, 10, 20, 20));
    EXPECT_EQ(state.publishedTriangleCount, i / 64 * 64);
  }
}

TEST_F(Append, WildCoordinatesAreTakenAsTheProcessorConvertsThem) {
  const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
  EXPECT_FALSE(Appends(Box(nan, nan, nan, nan)));
  EXPECT_FALSE(Appends(Box(0, 0, inf, inf)));  // the ceiling of infinity is the least integer
  EXPECT_FALSE(Appends(Box(-1e30f, -1e30f, 1e30f, 1e30f)));
}
