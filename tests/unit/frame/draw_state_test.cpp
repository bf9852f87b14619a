// The nine draw-state words of a packet.
#include <gtest/gtest.h>

#include "frame/emission.h"
#include "frame_fixture.h"

using namespace tlr2;
using namespace frame_test;

namespace {

class DrawState : public Frame {
 protected:
  TriangleRecord Words() {
    TriangleRecord r;
    std::memset(&r, 0xCD, sizeof r);
    BuildTriangleStateTemplate(state, r);
    return r;
  }
  TextureObject& BoundTexture(std::uint32_t name) {
    if (state.textureTable.size() <= name) state.textureTable.resize(name + 1);
    state.boundTexture = name;
    state.texture2DEnabled = 1;
    state.textureTable[name].inUse = 1;
    state.textureTable[name].hasImage = 1;
    return state.textureTable[name];
  }
};

}  // namespace

TEST_F(DrawState, OnlyTheStateWordsAreSet) {
  state.texEnvColor = 0x11223344u;
  const TriangleRecord r = Words();
  TriangleRecord want = {};
  want.textureIndex = kNoTexture;
  want.texEnvColor = 0x11223344u;
  EXPECT_TRUE(SameBytes(r, want));
}

TEST_F(DrawState, ATextureNeedsEnableSlotAndImage) {
  BoundTexture(3);
  EXPECT_EQ(Words().textureIndex, 3u);
  EXPECT_EQ(Words().filterMode, 1u);
  state.texture2DEnabled = 0;
  EXPECT_EQ(Words().textureIndex, kNoTexture);
  state.texture2DEnabled = 1;
  state.boundTexture = 4;
  EXPECT_EQ(Words().textureIndex, kNoTexture);
  state.boundTexture = 3;
  state.textureTable[3].hasImage = 0;
  EXPECT_EQ(Words().textureIndex, kNoTexture);
  EXPECT_EQ(Words().filterMode, 0u);
  Settings().forceFilter = 2;
  EXPECT_EQ(Words().filterMode, 0u);
}

TEST_F(DrawState, BlendPairs) {
  state.blendEnabled = 1;
  const struct {
    std::uint32_t source, destination, mode;
  } cases[] = {{1, 1, 1}, {0, 0x0300, 2}, {0x0302, 0x0303, 3}, {1, 0x0303, 0}, {1, 0, 0}, {0x0306, 0, 0}, {0, 1, 0}};
  for (const auto& c : cases) {
    state.blendSrc = c.source;
    state.blendDst = c.destination;
    state.blendEnabled = 1;
    EXPECT_EQ(Words().blendMode, c.mode);
    state.blendEnabled = 0;
    EXPECT_EQ(Words().blendMode, 0u);
    state.blendEnabled = 1;
    Settings().disableBlend = 1;
    EXPECT_EQ(Words().blendMode, 0u);
    Settings().disableBlend = 0;
  }
}

TEST_F(DrawState, OnlyGreaterIsAnAlphaTest) {
  state.alphaTestEnabled = 1;
  for (std::uint32_t func = 0x0200; func <= 0x0207; ++func) {
    state.alphaFunc = func;
    EXPECT_EQ(Words().alphaTest, func == 0x0204 ? 1u : 0u);
  }
  state.alphaFunc = 0x0204;
  Settings().disableAlphaTest = 1;
  EXPECT_EQ(Words().alphaTest, 0u);
  Settings().disableAlphaTest = 0;
  state.alphaTestEnabled = 0;
  EXPECT_EQ(Words().alphaTest, 0u);
}

TEST_F(DrawState, DepthFunctions) {
  state.depthTestEnabled = 1;
  const std::uint32_t code[8] = {7, 1, 3, 2,
                                 5, 6, 4, 0};  // never, less, equal, lequal, greater, notequal, gequal, always
  for (std::uint32_t i = 0; i < 8; ++i) {
    state.depthFunc = 0x0200 + i;
    EXPECT_EQ(Words().depthFunc, code[i]);
    EXPECT_EQ(Words().depthTest, 1u);
  }
  state.depthFunc = 0x9999;
  EXPECT_EQ(Words().depthFunc, 1u);
}

TEST_F(DrawState, WithoutDepthTestNothingIsWritten) {
  state.depthFunc = 0x0203;
  state.depthMask = 1;
  TriangleRecord r = Words();
  EXPECT_EQ(r.depthTest | r.depthFunc | r.depthWrite, 0u);
  state.depthTestEnabled = 1;
  EXPECT_EQ(Words().depthWrite, 1u);
  state.depthMask = 0;
  EXPECT_EQ(Words().depthWrite, 0u);
  state.depthMask = 1;
  Settings().disableDepthTest = 1;
  Settings().forceDepthFunc = 5;
  r = Words();
  EXPECT_EQ(r.depthTest | r.depthFunc | r.depthWrite, 0u);
}

TEST_F(DrawState, ForcedDepthFunction) {
  state.depthTestEnabled = 1;
  state.depthFunc = 0x0203;
  for (int forced = -1; forced <= 10; ++forced) {
    Settings().forceDepthFunc = forced;
    EXPECT_EQ(Words().depthFunc, forced >= 1 && forced <= 8 ? static_cast<std::uint32_t>(forced - 1) : 2u);
  }
  state.depthTestEnabled = 0;
  Settings().forceDepthFunc = 8;
  EXPECT_EQ(Words().depthFunc, 0u);
}

TEST_F(DrawState, TextureEnvironment) {
  const struct {
    std::uint32_t mode, code;
  } cases[] = {{0x2100, 0}, {0x1E01, 1}, {0x2101, 2}, {0x0BE2, 3}, {0x0104, 0}};
  for (const auto& c : cases) {
    state.texEnvMode = c.mode;
    EXPECT_EQ(Words().texEnvMode, c.code);
  }
}

TEST_F(DrawState, FiltersFollowMagnificationFirst) {
  TextureObject& texture = BoundTexture(1);
  const struct {
    std::uint32_t mag, min, mode;
  } cases[] = {{0x2600, 0x2703, 0}, {0x2601, 0x2600, 2}, {0x2601, 0x2601, 2}, {0x2601, 0x2700, 2}, {0x2601, 0x2701, 2},
               {0x2601, 0x2702, 1}, {0x2601, 0x2703, 1}, {0x1234, 0x2601, 2}, {0x2601, 0x1234, 1}};
  for (const auto& c : cases) {
    texture.magFilter = c.mag;
    texture.minFilter = c.min;
    Settings().forceFilter = 0;
    EXPECT_EQ(Words().filterMode, c.mode);
    Settings().forceFilter = 1;
    EXPECT_EQ(Words().filterMode, 0u);
    Settings().forceFilter = 2;
    EXPECT_EQ(Words().filterMode, 2u);
    Settings().forceFilter = 3;
    EXPECT_EQ(Words().filterMode, 1u);
    Settings().forceFilter = 4;
    EXPECT_EQ(Words().filterMode, c.mode);
  }
}
