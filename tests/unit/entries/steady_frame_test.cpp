// What a frame allocates once the program draws the same thing again and again.
#include "allocation_counter.h"
#include "entry_fixture.h"
#include "start/library.h"

namespace tlr2 {
namespace {

// A frame with state changes, a texture, several modes, and more vertices than the parallel emission wants.
void DrawFrame(std::uint32_t texture, int strips) {
  glClear(gl::kColorBufferBit | gl::kDepthBufferBit);
  glMatrixMode(gl::kProjection);
  glLoadIdentity();
  glFrustum(-1, 1, -1, 1, 1, 10);
  glMatrixMode(gl::kModelview);
  glLoadIdentity();
  glPushMatrix();
  glTranslatef(0, 0, -3);
  glEnable(gl::kDepthTest);
  glDepthFunc(gl::kLequal);
  glEnable(gl::kTexture2D);
  glBindTexture(gl::kTexture2D, texture);
  for (int strip = 0; strip < strips; ++strip) {
    glBegin(gl::kTriangleStrip);
    for (int i = 0; i < 100; ++i) {
      glTexCoord2f(static_cast<float>(i) * 0.1f, static_cast<float>(i & 1));
      glColor4ub(static_cast<std::uint8_t>(i), 200, 100, 255);
      glVertex3f(static_cast<float>(i) * 0.02f - 1, static_cast<float>(i & 1) * 0.2f,
                 static_cast<float>(strip) * 0.001f);
    }
    glEnd();
  }
  glPopMatrix();
  wglSwapBuffers(wglGetCurrentDC());
}

std::uint64_t AllocationsOfTenFrames(std::uint32_t texture, int strips) {
  for (int frame = 0; frame < 5; ++frame) DrawFrame(texture, strips);
  const std::uint64_t before = test::allocations.load();
  for (int frame = 0; frame < 10; ++frame) DrawFrame(texture, strips);
  return test::allocations.load() - before;
}

class SteadyFrame : public EntriesWithContext {
 protected:
  void SetUp() override {
    LibraryStart();
    EntriesWithContext::SetUp();
    glViewport(0, 0, 64, 48);
    glGenTextures(1, &texture);
    glBindTexture(gl::kTexture2D, texture);
    std::vector<std::uint8_t> texels(16 * 16 * 4, 150);
    glTexImage2D(gl::kTexture2D, 0, 4, 16, 16, 0, gl::kRgba, gl::kUnsignedByte, texels.data());
  }
  std::uint32_t texture = 0;
};

TEST_F(SteadyFrame, AllocatesTheTextureCacheAndNothingElse) { EXPECT_EQ(AllocationsOfTenFrames(texture, 4), 10u); }

TEST_F(SteadyFrame, AllocatesNoMoreWhenEmissionRunsInParallel) { EXPECT_LE(AllocationsOfTenFrames(texture, 400), 10u); }

}  // namespace
}  // namespace tlr2
