// Matrix stacks, viewport and depth range.
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include "entry_fixture.h"
#include "sanitizers.h"
#include "wgl/context.h"

namespace tlr2 {
namespace {

class Matrix : public Entries {
 protected:
  const float* top() { return state().matrixStacks[state().matrixMode][state().stackDepth[state().matrixMode]]; }
};

TEST_F(Matrix, BeforeAnyLoadTheMatricesAreAllZero) {
  float m[16];
  std::memset(m, 0x55, sizeof m);
  glGetFloatv(gl::kModelviewMatrix, m);
  for (const float value : m) EXPECT_EQ(value, 0.0f);
}

TEST_F(Matrix, AnUnknownModeKeepsTheModeAndTheRecordStands) {
  glMatrixMode(gl::kTexture);
  EXPECT_EQ(state().matrixMode, 2);
  glMatrixMode(0x1234);
  EXPECT_EQ(state().matrixMode, 2);
  EXPECT_EQ(last<CmdMatrixMode>().mode, 0x1234u);
  EXPECT_EQ(recordCount(), 2u);
  glMatrixMode(gl::kProjection);
  EXPECT_EQ(state().matrixMode, 1);
  glMatrixMode(gl::kModelview);
  EXPECT_EQ(state().matrixMode, 0);
}

TEST_F(Matrix, APushOnAFullStackIsDroppedAndItsRecordStays) {
  glLoadIdentity();
  for (int i = 0; i < 31; ++i) glPushMatrix();
  EXPECT_EQ(state().stackDepth[0], 31);
  glTranslatef(1, 2, 3);
  float before[16];
  std::memcpy(before, top(), sizeof before);
  const std::size_t count = recordCount();
  glPushMatrix();
  EXPECT_EQ(state().stackDepth[0], 31);
  EXPECT_EQ(std::memcmp(before, top(), sizeof before), 0);
  EXPECT_EQ(recordCount(), count + 1);
  glPopMatrix();
  EXPECT_EQ(state().stackDepth[0], 30);
}

TEST_F(Matrix, APushCopiesTheCurrentMatrixAndLeavesTheDirtyFlag) {
  glLoadIdentity();
  glTranslatef(1, 2, 3);
  state().matricesDirty = 0;
  glPushMatrix();
  EXPECT_EQ(state().matricesDirty, 0);
  EXPECT_EQ(std::memcmp(state().matrixStacks[0][0], state().matrixStacks[0][1], 64), 0);
}

TEST_F(Matrix, APopAtTheBottomLeavesTheDepthAndSetsTheDirtyFlag) {
  state().matricesDirty = 0;
  glPopMatrix();
  EXPECT_EQ(state().stackDepth[0], 0);
  EXPECT_EQ(state().matricesDirty, 1);
  EXPECT_EQ(recordCount(), 1u);
}

TEST_F(Matrix, ARotationAboutNothingChangesNothing) {
  glLoadIdentity();
  float before[16];
  std::memcpy(before, top(), sizeof before);
  state().matricesDirty = 0;
  glRotatef(45, 0, 0, 0);
  glRotatef(0, 1, 0, 0);
  EXPECT_EQ(state().matricesDirty, 0);
  EXPECT_EQ(std::memcmp(before, top(), sizeof before), 0);
  EXPECT_EQ(recordCount(), 3u);
}

TEST_F(Matrix, ARotationIsTheFormulaInSinglePrecision) {
  glLoadIdentity();
  state().matricesDirty = 0;
  glRotatef(33.5f, 1.0f, -2.0f, 0.5f);
  volatile float x = 1.0f, y = -2.0f, z = 0.5f;  // volatile: each operation is rounded by itself
  volatile float xx = x * x, yy = y * y, zz = z * z;
  volatile float sum = xx + yy;
  volatile float len2 = sum + zz;
  volatile float scaled = 33.5f * 3.1415927f;
  const float rad = scaled / 180.0f;
  const float c = static_cast<float>(std::cos(static_cast<double>(rad)));
  const float s = static_cast<float>(std::sin(static_cast<double>(rad)));
  const float inv = 1.0f / static_cast<float>(std::sqrt(static_cast<double>(len2)));
  volatile float nx = inv * x, ny = inv * y, nz = inv * z, k = 1.0f - c;
  const auto product = [](float a, float b, float d) {
    volatile float ab = a * b;
    volatile float abd = ab * d;
    return static_cast<float>(abd);
  };
  volatile float sz = s * nz, sy = s * ny, sx = s * nx;
  const float expected[16] = {product(nx, nx, k) + c,
                              product(nx, ny, k) + sz,
                              product(nx, nz, k) - sy,
                              0,
                              product(nx, ny, k) - sz,
                              product(ny, ny, k) + c,
                              product(ny, nz, k) + sx,
                              0,
                              product(nx, nz, k) + sy,
                              product(ny, nz, k) - sx,
                              product(nz, nz, k) + c,
                              0,
                              0,
                              0,
                              0,
                              1};
  for (int i = 0; i < 16; ++i) EXPECT_EQ(top()[i], expected[i]) << i;
  EXPECT_EQ(state().matricesDirty, 1);
}

TEST_F(Matrix, AProductAddsInItsFixedOrder) {
  float a[16], b[16];
  for (int i = 0; i < 16; ++i) {
    a[i] = static_cast<float>(i * 7 % 5) * 1.3e5f + 0.1f;
    b[i] = static_cast<float>(i * 11 % 7) * 0.37f - 1.1f;
  }
  glLoadMatrixf(a);
  glMultMatrixf(b);
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) {
      volatile float sum = 0;
      for (int n = 0; n < 4; ++n) {
        volatile float product = b[4 * i + n] * a[4 * n + j];
        sum = sum + product;
      }
      EXPECT_EQ(top()[4 * i + j], sum) << i << "," << j;
    }
}

TEST_F(Matrix, NullMatricesDoNothingAndAreNotRecorded) {
  glLoadIdentity();
  state().matricesDirty = 0;
  const std::uint64_t calls = CallsOf(Entry::glMultMatrixf);
  glLoadMatrixf(nullptr);
  glMultMatrixf(nullptr);
  EXPECT_EQ(CallsOf(Entry::glMultMatrixf), calls + 1);
  EXPECT_EQ(recordCount(), 1u);
  EXPECT_EQ(state().matricesDirty, 0);
}

TEST_F(Matrix, TranslationAndScaleMultiplyTheCurrentMatrix) {
  glLoadIdentity();
  glTranslatef(1, 2, 3);
  glScalef(2, 4, 8);
  const float expected[16] = {2, 0, 0, 0, 0, 4, 0, 0, 0, 0, 8, 0, 1, 2, 3, 1};
  for (int i = 0; i < 16; ++i) EXPECT_EQ(top()[i], expected[i]) << i;
}

TEST_F(Matrix, ProjectionsNarrowTheirArgumentsBeforeRecordAndArithmetic) {
  glMatrixMode(gl::kProjection);
  glLoadIdentity();
  glOrtho(-0.1, 1.7, 0.3, 9.1, -5.3, 7.7);
  const auto record = last<CmdOrtho>();
  EXPECT_EQ(record.left, -0.1f);
  EXPECT_EQ(record.right, 1.7f);
  EXPECT_EQ(record.zFar, 7.7f);
  const float l = -0.1f, r = 1.7f, b = 0.3f, t = 9.1f, n = -5.3f, f = 7.7f;
  EXPECT_EQ(top()[0], 2.0f / (r - l));
  EXPECT_EQ(top()[5], 2.0f / (t - b));
  EXPECT_EQ(top()[10], -2.0f / (f - n));
  EXPECT_EQ(top()[12], -(r + l) / (r - l));
  glLoadIdentity();
  glFrustum(-1, 1, -0.75, 0.75, 1, 100);
  EXPECT_EQ(last<CmdFrustum>().bottom, -0.75f);
  EXPECT_EQ(top()[0], 1.0f);
  EXPECT_EQ(top()[10], -(100.0f + 1.0f) / (100.0f - 1.0f));
  EXPECT_EQ(top()[11], -1.0f);
  EXPECT_EQ(top()[14], -((100.0f + 100.0f) * 1.0f) / (100.0f - 1.0f));
  EXPECT_EQ(top()[15], 0.0f);
}

TEST_F(Matrix, AZeroDenominatorLetsInfinitiesThrough) {
  glLoadIdentity();
  glOrtho(1, 1, 0, 1, 0, 1);
  EXPECT_TRUE(std::isinf(top()[0]));
}

TEST_F(Matrix, TheThreeStacksAreIndependent) {
  glMatrixMode(gl::kProjection);
  glLoadIdentity();
  glTranslatef(5, 0, 0);
  glMatrixMode(gl::kTexture);
  glLoadIdentity();
  glScalef(3, 3, 3);
  float m[16];
  glGetFloatv(gl::kProjectionMatrix, m);
  EXPECT_EQ(m[12], 5.0f);
  glGetFloatv(gl::kTextureMatrix, m);
  EXPECT_EQ(m[0], 3.0f);
  glGetFloatv(gl::kModelviewMatrix, m);
  EXPECT_EQ(m[0], 0.0f);
}

TEST_F(Matrix, ASmallerViewportLeavesTheGridLarge) {
  glViewport(0, 0, 640, 480);
  EXPECT_EQ(state().fbWidth, 640);
  EXPECT_EQ(state().fbHeight, 480);
  glViewport(3, 4, 100, 50);
  EXPECT_EQ(state().fbWidth, 640);
  EXPECT_EQ(state().fbHeight, 480);
  EXPECT_EQ(state().viewport[0], 3);
  EXPECT_EQ(state().viewport[3], 50);
  EXPECT_EQ(last<CmdViewport>().width, 100);
  glViewport(0, 0, 2000, 100);
  EXPECT_EQ(state().fbWidth, 2000);
  EXPECT_EQ(state().fbHeight, 480);
}

TEST_F(Matrix, DepthRangeNarrowsAndDoesNotClamp) {
  glDepthRange(-3.1, 7.3);
  EXPECT_EQ(state().depthNear, -3.1f);
  EXPECT_EQ(state().depthFar, 7.3f);
  EXPECT_EQ(last<CmdDepthRange>().zNear, -3.1f);
  float values[2];
  glGetFloatv(gl::kDepthRange, values);
  EXPECT_EQ(values[1], 7.3f);
}

using MatrixWithContext = EntriesWithContext;

TEST_F(MatrixWithContext, AViewportMakesTheSurfaceLargeEnough) {
  const Surface& surface = static_cast<ContextRecord*>(context)->surface;
  EXPECT_EQ(surface.width, 64);
  glViewport(0, 0, 100, 20);
  EXPECT_EQ(surface.width, 100);
  EXPECT_EQ(surface.height, 48);
  glViewport(0, 0, 10, 10);
  EXPECT_EQ(surface.width, 100);
}

TEST_F(MatrixWithContext, ALargerViewportDropsThePictureAndTheDepths) {
  const Surface& surface = static_cast<ContextRecord*>(context)->surface;
  const auto fill = [&surface](float depth) {
    for (std::int32_t i = 0; i < surface.width * surface.height; ++i) surface.depthBuffer[i] = depth;
  };
  glClearDepth(0.75);
  fill(0.25f);
  surface.colorBuffer[0] = 0x11223344u;
  glViewport(0, 0, 64, 48);
  EXPECT_EQ(surface.depthBuffer[64 * 48 - 1], 0.25f);
  EXPECT_EQ(surface.colorBuffer[0], 0x11223344u);
#if defined(__GLIBC__)
  mallopt(M_PERTURB, 0x5A);  // new memory is 0xA5 throughout, until someone writes to it
#endif
  glViewport(0, 0, 80, 48);
#if defined(__GLIBC__)
  mallopt(M_PERTURB, 0);
#endif
  EXPECT_EQ(surface.colorBuffer[0], 0u);
  ASSERT_NE(surface.depthBuffer, nullptr);
  EXPECT_EQ(state().pendingDepthClear, 0);
#if defined(__GLIBC__) && !TLR2_ADDRESS_SANITIZER && !TLR2_THREAD_SANITIZER  // whose memory is their own
  for (std::int32_t i = 0; i < 80 * 48; ++i)
    ASSERT_EQ(std::bit_cast<std::uint32_t>(surface.depthBuffer[i]), 0xA5A5A5A5u) << i;
#endif
  fill(0.5f);  // as many as the surface has pixels now
}

}  // namespace
}  // namespace tlr2
