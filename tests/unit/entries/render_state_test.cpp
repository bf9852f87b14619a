// Fixed-function state, clears, and the entries that only record.
#include "entry_fixture.h"

namespace tlr2 {
namespace {

using RenderState = Entries;

TEST_F(RenderState, TheFiveKnownCapabilitiesAreFlags) {
  const GLenum caps[] = {gl::kCullFace, gl::kDepthTest, gl::kAlphaTest, gl::kBlend, gl::kTexture2D};
  for (const GLenum cap : caps) {
    EXPECT_EQ(glIsEnabled(cap), 0);
    glEnable(cap);
    EXPECT_EQ(glIsEnabled(cap), 1);
    EXPECT_EQ(last<CmdEnable>().cap, cap);
    glDisable(cap);
    EXPECT_EQ(glIsEnabled(cap), 0);
    EXPECT_EQ(last<CmdDisable>().cap, cap);
  }
}

TEST_F(RenderState, AnUnknownCapabilityIsRecordedAndForgotten) {
  for (const GLenum cap : {0x1234u, 0x0C11u, 0x0B60u, 0x0B50u}) {
    glEnable(cap);
    EXPECT_EQ(last<CmdEnable>().cap, cap);
    EXPECT_EQ(glIsEnabled(cap), 0);
  }
}

TEST_F(RenderState, ValuesAreStoredUnvalidated) {
  glBlendFunc(0x7777, 0x8888);
  EXPECT_EQ(state().blendSrc, 0x7777u);
  EXPECT_EQ(state().blendDst, 0x8888u);
  glAlphaFunc(0x9999, 5.0f);
  EXPECT_EQ(state().alphaFunc, 0x9999u);
  EXPECT_EQ(state().alphaRef, 5.0f);
  glDepthFunc(3);
  EXPECT_EQ(state().depthFunc, 3u);
  glCullFace(4);
  glFrontFace(5);
  EXPECT_EQ(state().cullMode, 4u);
  EXPECT_EQ(state().frontFace, 5u);
  EXPECT_EQ(recordCount(), 5u);
}

/// A caller may leave anything above the byte, which no type of C++ says.
__attribute__((no_sanitize("undefined"))) static void DepthMaskOfAWholeWord(unsigned word) {
  using Wide = void(TLR2_STDCALL*)(unsigned);
  reinterpret_cast<Wide>(reinterpret_cast<void*>(&glDepthMask))(word);
}

TEST_F(RenderState, OnlyTheLowByteOfAFlagCounts) {
  DepthMaskOfAWholeWord(0x100);
  EXPECT_EQ(last<CmdDepthMask>().flag, 0u);
  EXPECT_EQ(state().depthMask, 0);
  DepthMaskOfAWholeWord(0x102);
  EXPECT_EQ(last<CmdDepthMask>().flag, 2u);
  EXPECT_EQ(state().depthMask, 1);
  glColorMask(1, 0, 255, 2);
  EXPECT_EQ(last<CmdColorMask>().blue, 255u);
  EXPECT_EQ(last<CmdColorMask>().green, 0u);
}

TEST_F(RenderState, AClearLatchesTheValuesOfItsMoment) {
  glClearColor(1, 0, 0, 1);
  glClearDepth(0.25);
  glClear(gl::kColorBufferBit | gl::kDepthBufferBit);
  glClearColor(0, 1, 0, 1);
  glClearDepth(0.5);
  EXPECT_EQ(state().pendingColorClear, 1);
  EXPECT_EQ(state().pendingColorClearValue, 0xFFFF0000u);
  EXPECT_EQ(state().pendingDepthClear, 1);
  EXPECT_EQ(state().pendingDepthClearValue, 0.25f);
  EXPECT_EQ(state().clearColor, 0xFF00FF00u);
  EXPECT_EQ(state().clearDepth, 0.5f);
}

TEST_F(RenderState, AClearOfOtherBuffersSetsNothing) {
  glClear(gl::kStencilBufferBit);
  EXPECT_EQ(state().pendingColorClear, 0);
  EXPECT_EQ(state().pendingDepthClear, 0);
  EXPECT_EQ(last<CmdClear>().mask, 0x400u);
}

TEST_F(RenderState, TheFloatFormOfTheEnvironmentCountsTwiceAndTruncates) {
  const std::uint64_t outer = CallsOf(Entry::glTexEnvf), inner = CallsOf(Entry::glTexEnvi);
  state().texEnvMode = 0;
  glTexEnvf(gl::kTextureEnv, gl::kTextureEnvMode, 8448.9f);
  EXPECT_EQ(CallsOf(Entry::glTexEnvf), outer + 1);
  EXPECT_EQ(CallsOf(Entry::glTexEnvi), inner + 1);
  EXPECT_EQ(state().texEnvMode, 0x2100u);
  EXPECT_EQ(recordCount(), 1u);
  EXPECT_EQ(last<CmdTexEnvi>().param, 0x2100);
}

TEST_F(RenderState, ThePointerFormOfTheEnvironmentTakesTheFirstElement) {
  const std::uint64_t outer = CallsOf(Entry::glTexEnviv), inner = CallsOf(Entry::glTexEnvi);
  const GLint params[1] = {0x1E01};
  glTexEnviv(gl::kTextureEnv, gl::kTextureEnvMode, params);
  EXPECT_EQ(state().texEnvMode, 0x1E01u);
  glTexEnviv(gl::kTextureEnv, gl::kTextureEnvMode, nullptr);
  EXPECT_EQ(CallsOf(Entry::glTexEnviv), outer + 2);
  EXPECT_EQ(CallsOf(Entry::glTexEnvi), inner + 1);
  EXPECT_EQ(recordCount(), 1u);
}

TEST_F(RenderState, OtherEnvironmentTargetsAreRecordedAndIgnored) {
  glTexEnvi(0x1234, gl::kTextureEnvMode, 1);
  glTexEnvi(gl::kTextureEnv, 0x1234, 1);
  EXPECT_EQ(state().texEnvMode, 0x2100u);
  EXPECT_EQ(recordCount(), 2u);
}

TEST_F(RenderState, TheFloatVectorOfTheEnvironmentRecordsFourFloats) {
  const GLfloat color[4] = {1, 0.5f, 0, 1};
  glTexEnvfv(gl::kTextureEnv, gl::kTextureEnvColor, color);
  EXPECT_EQ(state().texEnvColor, 0xFFFF8000u);
  EXPECT_EQ(last<CmdTexEnvfv>().params[1], 0.5f);
  const GLfloat mode[4] = {8449.7f, 0, 0, 0};
  glTexEnvfv(gl::kTextureEnv, gl::kTextureEnvMode, mode);
  EXPECT_EQ(state().texEnvMode, 0x2101u);
  glTexEnvfv(gl::kTextureEnv, gl::kTextureEnvColor, nullptr);
  EXPECT_EQ(recordCount(), 2u);
}

TEST_F(RenderState, RecordedOnlyEntriesReachTheStreamAndChangeNothing) {
  StateSnapshot before = {}, after = {};
  SnapshotFromState(state(), before);
  glScissor(1, 2, 3, 4);
  EXPECT_EQ(last<CmdScissor>().height, 4);
  glShadeModel(0x1D00);
  EXPECT_EQ(last<CmdShadeModel>().mode, 0x1D00u);
  glPolygonMode(0x0408, 0x1B01);
  EXPECT_EQ(last<CmdPolygonMode>().mode, 0x1B01u);
  glPolygonOffset(1.5f, -2);
  EXPECT_EQ(last<CmdPolygonOffset>().units, -2.0f);
  glPixelStorei(0x0CF5, 1);
  EXPECT_EQ(last<CmdPixelStorei>().param, 1);
  glActiveTextureARB(0x84C1);
  EXPECT_EQ(last<CmdActiveTextureARB>().texture, 0x84C1u);
  SnapshotFromState(state(), after);
  EXPECT_EQ(std::memcmp(&before, &after, sizeof before), 0);
}

TEST_F(RenderState, ClearValuesAreRecordedAsFloats) {
  glClearColor(0.1f, 0.2f, 0.3f, 0.4f);
  EXPECT_EQ(last<CmdClearColor>().blue, 0.3f);
  glClearDepth(0.1);
  EXPECT_EQ(last<CmdClearDepth>().depth, 0.1f);
}

}  // namespace
}  // namespace tlr2
