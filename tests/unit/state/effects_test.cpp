// Effects of calls on the driver state.
#include "api/state/effects.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <random>

#include "tiles/grid/grid.h"

namespace tlr2 {
namespace {

class Effects : public ::testing::Test {
 protected:
  std::unique_ptr<DriverState> owned_ = std::make_unique<DriverState>();
  DriverState& state_ = *owned_;
};

TEST_F(Effects, StacksStartAllZero) {
  for (int i = 0; i < 16; ++i) EXPECT_EQ(effect::CurrentMatrix(state_)[i], 0.0f);
  EXPECT_EQ(state_.matricesDirty, 1);
}

TEST_F(Effects, UnknownMatrixModeKeepsTheMode) {
  effect::MatrixMode(state_, gl::kProjection);
  EXPECT_EQ(state_.matrixMode, 1);
  for (GLenum mode : {0x1234u, 0x16FFu, 0x1703u, 0xFFFFFFFFu, 0u}) {
    effect::MatrixMode(state_, mode);
    EXPECT_EQ(state_.matrixMode, 1);
  }
  effect::MatrixMode(state_, gl::kTexture);
  EXPECT_EQ(state_.matrixMode, 2);
  effect::MatrixMode(state_, gl::kModelview);
  EXPECT_EQ(state_.matrixMode, 0);
}

TEST_F(Effects, PushStopsAtTheThirtySecondMatrix) {
  state_.matricesDirty = 0;
  effect::LoadIdentity(state_);
  state_.matricesDirty = 0;
  for (int i = 0; i < 31; ++i) effect::PushMatrix(state_);
  EXPECT_EQ(state_.stackDepth[0], 31);
  EXPECT_EQ(effect::CurrentMatrix(state_)[0], 1.0f);
  effect::CurrentMatrix(state_)[0] = 9.0f;
  effect::PushMatrix(state_);
  EXPECT_EQ(state_.stackDepth[0], 31);
  EXPECT_EQ(effect::CurrentMatrix(state_)[0], 9.0f);
  EXPECT_EQ(state_.matricesDirty, 0) << "a push changes no matrix";
  effect::PopMatrix(state_);
  EXPECT_EQ(state_.stackDepth[0], 30);
  EXPECT_EQ(state_.stackDepth[1], 0) << "each mode has its own depth";
}

TEST_F(Effects, PopAtTheBottomStaysAndMarksDirty) {
  state_.matricesDirty = 0;
  effect::PopMatrix(state_);
  EXPECT_EQ(state_.stackDepth[0], 0);
  EXPECT_EQ(state_.matricesDirty, 1);
}

TEST_F(Effects, RotationByNothingIsNotDirty) {
  effect::LoadIdentity(state_);
  state_.matricesDirty = 0;
  effect::Rotate(state_, 45, 0, 0, 0);
  effect::Rotate(state_, 0, 1, 0, 0);
  EXPECT_EQ(state_.matricesDirty, 0);
  EXPECT_EQ(effect::CurrentMatrix(state_)[0], 1.0f);
  effect::Rotate(state_, 45, 0, 0, 1);
  EXPECT_EQ(state_.matricesDirty, 1);
  EXPECT_NE(effect::CurrentMatrix(state_)[0], 1.0f);
}

TEST_F(Effects, EveryMatrixChangeMarksDirty) {
  const float m[16] = {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1};
  const auto dirties = [&](auto call) {
    state_.matricesDirty = 0;
    call();
    return state_.matricesDirty == 1;
  };
  EXPECT_TRUE(dirties([&] { effect::LoadIdentity(state_); }));
  EXPECT_TRUE(dirties([&] { effect::LoadMatrix(state_, m); }));
  EXPECT_TRUE(dirties([&] { effect::MultMatrix(state_, m); }));
  EXPECT_TRUE(dirties([&] { effect::Translate(state_, 1, 2, 3); }));
  EXPECT_TRUE(dirties([&] { effect::Scale(state_, 1, 2, 3); }));
  EXPECT_TRUE(dirties([&] { effect::Ortho(state_, 0, 1, 0, 1, 0, 1); }));
  EXPECT_TRUE(dirties([&] { effect::Frustum(state_, 0, 1, 0, 1, 1, 2); }));
}

TEST_F(Effects, TransformsMultiplyFromTheRight) {
  effect::LoadIdentity(state_);
  effect::Scale(state_, 2, 3, 4);
  effect::Translate(state_, 10, 20, 30);
  const float wanted[16] = {2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 20, 60, 120, 1};
  for (int i = 0; i < 16; ++i) EXPECT_EQ(effect::CurrentMatrix(state_)[i], wanted[i]) << i;
}

TEST_F(Effects, MultiplyingByTheCurrentMatrixItselfSquaresIt) {
  effect::LoadIdentity(state_);
  effect::Scale(state_, 3, 5, 7);
  effect::MultMatrix(state_, effect::CurrentMatrix(state_));
  EXPECT_EQ(effect::CurrentMatrix(state_)[0], 9.0f);
  EXPECT_EQ(effect::CurrentMatrix(state_)[10], 49.0f);
}

TEST_F(Effects, CombinedMatrixIsProjectionTimesModelview) {
  std::mt19937 random(11);
  for (int i = 0; i < 16; ++i) {
    state_.matrixStacks[1][2][i] = static_cast<float>(random() % 1000) / 37.0f;
    state_.matrixStacks[0][3][i] = static_cast<float>(random() % 1000) / 41.0f;
  }
  state_.stackDepth[1] = 2;
  state_.stackDepth[0] = 3;
  effect::RefreshCombinedMatrix(state_);
  EXPECT_EQ(state_.matricesDirty, 0);
  const float* p = state_.matrixStacks[1][2];
  const float* m = state_.matrixStacks[0][3];
  for (int c = 0; c < 4; ++c) {
    for (int r = 0; r < 4; ++r) {
      volatile float sum = 0;
      for (int k = 0; k < 4; ++k) {
        volatile float product = m[4 * c + k] * p[4 * k + r];
        sum = sum + product;
      }
      EXPECT_EQ(state_.combinedMatrix[4 * c + r], sum);
    }
  }
  state_.matrixStacks[1][2][0] = 0;
  const float before = state_.combinedMatrix[0];
  effect::RefreshCombinedMatrix(state_);
  EXPECT_EQ(state_.combinedMatrix[0], before) << "made only after a change";
}

TEST_F(Effects, CapabilitiesSetTheirFlagsAndOthersNothing) {
  const GLenum caps[] = {gl::kCullFace, gl::kDepthTest, gl::kAlphaTest, gl::kBlend, gl::kTexture2D};
  for (GLenum cap : caps) {
    effect::SetCapability(state_, cap, true);
    EXPECT_EQ(*effect::CapabilityFlag(state_, cap), 1);
    EXPECT_EQ(state_.cullEnabled + state_.depthTestEnabled + state_.alphaTestEnabled + state_.blendEnabled +
                  state_.texture2DEnabled,
              1);
    effect::SetCapability(state_, cap, false);
    EXPECT_EQ(*effect::CapabilityFlag(state_, cap), 0);
  }
  effect::SetCapability(state_, 0x1234, true);
  EXPECT_EQ(effect::CapabilityFlag(state_, 0x1234), nullptr);
}

TEST_F(Effects, ClearLatchesTheValuesOfItsMoment) {
  effect::ClearColor(state_, 1, 0, 0, 1);
  effect::ClearDepth(state_, 0.25f);
  effect::Clear(state_, gl::kColorBufferBit | gl::kDepthBufferBit);
  effect::ClearColor(state_, 0, 1, 0, 1);
  effect::ClearDepth(state_, 0.75f);
  EXPECT_EQ(state_.pendingColorClear, 1);
  EXPECT_EQ(state_.pendingColorClearValue, 0xFFFF0000u);
  EXPECT_EQ(state_.pendingDepthClear, 1);
  EXPECT_EQ(state_.pendingDepthClearValue, 0.25f);
  EXPECT_EQ(state_.clearColor, 0xFF00FF00u);
}

TEST_F(Effects, StencilClearSetsNothing) {
  effect::Clear(state_, gl::kStencilBufferBit);
  EXPECT_EQ(state_.pendingColorClear, 0);
  EXPECT_EQ(state_.pendingDepthClear, 0);
}

TEST_F(Effects, EnvironmentActsOnItsTargetAlone) {
  effect::TexEnvi(state_, 0x2301, gl::kTextureEnvMode, 1);
  effect::TexEnvi(state_, gl::kTextureEnv, 0x2202, 1);
  EXPECT_EQ(state_.texEnvMode, gl::kModulate);
  effect::TexEnvi(state_, gl::kTextureEnv, gl::kTextureEnvMode, 0x1E01);
  EXPECT_EQ(state_.texEnvMode, gl::kReplace);
  const float color[4] = {1, 0.5f, 0, 0.25f};
  effect::TexEnvfv(state_, 0x2301, gl::kTextureEnvColor, color);
  EXPECT_EQ(state_.texEnvColor, 0u);
  effect::TexEnvfv(state_, gl::kTextureEnv, gl::kTextureEnvColor, color);
  EXPECT_EQ(state_.texEnvColor, 0x40FF8000u);
  const float mode[4] = {8448.75f, 0, 0, 0};
  effect::TexEnvfv(state_, gl::kTextureEnv, gl::kTextureEnvMode, mode);
  EXPECT_EQ(state_.texEnvMode, 8448u);
  const float wild[4] = {std::numeric_limits<float>::quiet_NaN(), 0, 0, 0};
  effect::TexEnvfv(state_, gl::kTextureEnv, gl::kTextureEnvMode, wild);
  EXPECT_EQ(state_.texEnvMode, 0x80000000u);
}

TEST_F(Effects, VerticesTakeTheCurrentColourAndCoordinate) {
  effect::Begin(state_, gl::kTriangles);
  effect::Color(state_, 0x11223344u);
  effect::TexCoord(state_, 0.5f, 0.75f);
  effect::Vertex(state_, 1, 2, 0);
  ASSERT_EQ(state_.vertices.size(), 1u);
  EXPECT_EQ(state_.vertices[0].z, 0.0f);
  EXPECT_EQ(state_.vertices[0].color, 0x11223344u);
  EXPECT_EQ(state_.vertices[0].s, 0.5f);
  EXPECT_EQ(state_.vertices[0].t, 0.75f);
  EXPECT_EQ(state_.primitiveMode, gl::kTriangles);
  const std::size_t room = state_.vertices.capacity();
  effect::EndPrimitive(state_);
  EXPECT_EQ(state_.primitiveMode, 0u);
  EXPECT_TRUE(state_.vertices.empty());
  EXPECT_EQ(state_.vertices.capacity(), room);
}

TEST_F(Effects, BeginOfPointsLooksLikeNoPrimitive) {
  effect::Begin(state_, gl::kPoints);
  EXPECT_EQ(state_.primitiveMode, 0u);
}

TEST_F(Effects, NestedBeginEmptiesVerticesAndVerticesOutsideAppend) {
  effect::Vertex(state_, 1, 2, 3);
  EXPECT_EQ(state_.vertices.size(), 1u);
  effect::Begin(state_, gl::kQuads);
  effect::Vertex(state_, 1, 2, 3);
  effect::Begin(state_, gl::kTriangles);
  EXPECT_TRUE(state_.vertices.empty());
  EXPECT_EQ(state_.primitiveMode, gl::kTriangles);
}

TEST_F(Effects, ValuesAreStoredWithoutValidation) {
  effect::BlendFunc(state_, 0xABCD, 0xDCBA);
  EXPECT_EQ(state_.blendSrc, 0xABCDu);
  EXPECT_EQ(state_.blendDst, 0xDCBAu);
  effect::AlphaFunc(state_, 77, 0.5f);
  EXPECT_EQ(state_.alphaFunc, 77u);
  EXPECT_EQ(state_.alphaRef, 0.5f);
  effect::DepthFunc(state_, 78);
  EXPECT_EQ(state_.depthFunc, 78u);
  effect::DepthMask(state_, 0);
  EXPECT_EQ(state_.depthMask, 0);
  effect::DepthMask(state_, 0x80);
  EXPECT_EQ(state_.depthMask, 1);
  effect::DepthRange(state_, -5, 7);
  EXPECT_EQ(state_.depthNear, -5.0f);
  EXPECT_EQ(state_.depthFar, 7.0f);
  effect::CullFace(state_, 79);
  effect::FrontFace(state_, 80);
  EXPECT_EQ(state_.cullMode, 79u);
  EXPECT_EQ(state_.frontFace, 80u);
}

TEST_F(Effects, ViewportIsStoredAsGiven) {
  effect::StoreViewport(state_, -1, 2, 640, 480);
  EXPECT_EQ(state_.viewport[0], -1);
  EXPECT_EQ(state_.viewport[1], 2);
  EXPECT_EQ(state_.viewport[2], 640);
  EXPECT_EQ(state_.viewport[3], 480);
}

}  // namespace
}  // namespace tlr2
