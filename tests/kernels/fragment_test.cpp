// Colours, the texture environment, the alpha test, blending and what is stored.
#include <limits>

#include "tile_picture.h"

namespace tlr2::judge {
namespace {

class Fragment : public WithKernel {
 protected:
  /// The pixel that a constant colour with a constant texel leaves.
  std::uint32_t Textured(std::uint32_t env, std::uint32_t fragment, std::uint32_t texel, std::uint32_t envColor = 0) {
    TriangleRecord tri = Ramp();
    SetTexture(tri, picture.AddTexture(1, 1, {texel}, true), 0, 0.5f, 0.0f, 0.5f);
    tri.texEnvMode = env;
    tri.texEnvColor = envColor;
    SetColor(tri, fragment, fragment, fragment);
    picture.Add(tri);
    picture.Draw(GetParam());
    return picture.Pixel(2, 6);
  }

  std::uint32_t Blended(std::uint32_t mode, std::uint32_t source, std::uint32_t target) {
    TriangleRecord tri = Ramp();
    tri.blendMode = mode;
    SetColor(tri, source, source, source);
    picture.Fill(target);
    picture.Add(tri);
    picture.Draw(GetParam());
    return picture.Pixel(6, 2);
  }
};
TLR2_FOR_ALL_KERNELS(Fragment);

TEST_P(Fragment, TheAlphaThresholdLiesBetween169And170) {
  struct Case {
    std::uint32_t first, second;
    bool passes;
  };
  // At column 0 b1 = 1/32: 169 + 29/32 = 169.90625, 169 + 26/32 = 169.8125.
  for (const Case c : {Case{170, 170, true}, Case{169, 169, false}, Case{169, 198, true}, Case{169, 195, false}}) {
    TriangleRecord tri = Cover(0.25f, 0);
    for (int i = 0; i < 3; ++i) tri.x[i] = Ramp().x[i];
    for (int i = 0; i < 3; ++i) tri.y[i] = Ramp().y[i];
    tri.alphaTest = 1;
    SetColor(tri, c.first << 24 | 0x102030u, c.second << 24 | 0x102030u, c.first << 24 | 0x102030u);
    picture.Fill(TilePicture::kBackground);
    picture.FillDepth(1.0f);
    picture.Add(tri);
    picture.Draw(GetParam());
    if (c.passes) {
      EXPECT_EQ(picture.Pixel(0, 0), (c.first << 24 | 0x102030u));
      EXPECT_EQ(picture.Depth(0, 0), 0.25f);
    } else {
      EXPECT_EQ(picture.Pixel(0, 0), TilePicture::kBackground) << "colour as it was";
      EXPECT_EQ(picture.Depth(0, 0), 1.0f) << "depth as it was";
    }
  }
}

TEST_P(Fragment, AdditionSaturates) {
  EXPECT_EQ(Blended(1, 0xC8C8C8C8u, 0x64646464u), 0xFFFFFFFFu);
  EXPECT_EQ(Blended(1, 0x01020304u, 0x10203040u), 0x11223344u);
}

TEST_P(Fragment, AnOpaqueSourceBlendsToItself) {
  for (const std::uint32_t target : {0u, 0xFFFFFFFFu, 0x12345678u}) {
    EXPECT_EQ(Blended(3, 0xFF17A5FEu, target), 0xFF17A5FEu);
  }
}

TEST_P(Fragment, AlphaBlendingActsOnAlphaToo) {
  // a = 128/255: alpha 128a + 64(1-a) = 96.1, red 255a = 128.0, green 100a + 50(1-a) = 75.1, blue 255(1-a) = 126.99.
  EXPECT_EQ(Blended(3, 0x80FF6400u, 0x400032FFu), 0x60804B7Eu);
}

TEST_P(Fragment, MultiplyingByWhiteGivesTheSource) {
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    const std::uint32_t source = byte * 0x01010101u;
    EXPECT_EQ(Blended(2, source, 0xFFFFFFFFu), source);
  }
  EXPECT_EQ(Blended(2, 0x80402010u, 0x00000000u), 0u);
  EXPECT_EQ(Blended(2, 0x80808080u, 0x80808080u), 0x40404040u);  // 64.25, alpha too
}

TEST_P(Fragment, AnUnknownBlendModeStoresTheSource) {
  EXPECT_EQ(Blended(0, 0x10203040u, 0xFFFFFFFFu), 0x10203040u);
  EXPECT_EQ(Blended(4, 0x10203040u, 0xFFFFFFFFu), 0x10203040u);
  EXPECT_EQ(Blended(0xFFFFFFFFu, 0x10203040u, 0xFFFFFFFFu), 0x10203040u);
}

TEST_P(Fragment, DecalKeepsTheFragmentsAlpha) {
  EXPECT_EQ(Textured(2, 0x40112233u, 0x00AABBCCu), 0x40112233u);
  EXPECT_EQ(Textured(2, 0x40112233u, 0xFFAABBCCu), 0x40AABBCCu);
  EXPECT_EQ(Textured(2, 0x40000000u, 0x80FFFFFFu), 0x40808080u);  // 255 * 128/255 = 128.0
}

TEST_P(Fragment, ReplaceIgnoresTheVertexColours) {
  EXPECT_EQ(Textured(1, 0x40112233u, 0x80AABBCCu), 0x80AABBCCu);
  TriangleRecord tri = Ramp();
  SetTexture(tri, picture.AddTexture(1, 1, {0x01020304u}, true), 0, 0.5f, 0.0f, 0.5f);
  SetColor(tri, 0xFFFFFFFFu, 0u, 0x12345678u);
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.Pixel(0, 7), 0x01020304u);
}

TEST_P(Fragment, ReplaceWithAnEmptyEntryShowsTheFirstVertexFlat) {
  TriangleRecord tri = Ramp();
  SetTexture(tri, picture.AddAbsentTexture(), 0, 0.5f, 0.0f, 0.5f);
  SetColor(tri, 0x11223344u, 0u, 0xFFFFFFFFu);
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.Pixel(0, 0), 0x11223344u);
  EXPECT_EQ(picture.Pixel(7, 7), 0x11223344u);
}

TEST_P(Fragment, ReplaceWithAnIndexPastTheTableInterpolates) {
  TriangleRecord tri = Ramp();
  tri.texEnvMode = 1;
  tri.textureIndex = 1;
  picture.AddAbsentTexture();
  SetColor(tri, 0u, 0x40404040u, 0u);
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.Pixel(7, 0), 0x1E1E1E1Eu);  // 64 * 15/32
}

TEST_P(Fragment, TheBlendEnvironmentRunsFromFragmentToItsColour) {
  EXPECT_EQ(Textured(3, 0xFF112233u, 0xFF000000u, 0x77AABBCCu), 0xFF112233u);
  EXPECT_EQ(Textured(3, 0xFF112233u, 0xFFFFFFFFu, 0x77AABBCCu), 0xFFAABBCCu);
  EXPECT_EQ(Textured(3, 0x80112233u, 0x80FF00FFu, 0x77AABBCCu), 0x40AA22CCu);  // alpha 128 * 128 / 255
}

TEST_P(Fragment, ModulateMultipliesAndIsTheDefault) {
  for (const std::uint32_t env : {0u, 4u, 0xFFFFFFFFu}) {
    EXPECT_EQ(Textured(env, 0xFFFFFFFFu, 0x80402010u), 0x80402010u) << env;
    EXPECT_EQ(Textured(env, 0x80808080u, 0x80808080u), 0x40404040u) << env;
  }
}

TEST_P(Fragment, AConstantColourIsStoredExactlyWhateverW) {
  for (const float w : {1.0f, 0.1f, 0.0f, -3.0f, std::numeric_limits<float>::quiet_NaN()}) {
    TriangleRecord tri = Ramp();
    SetColor(tri, 0x37A4C1FDu, 0x37A4C1FDu, 0x37A4C1FDu);
    tri.invW[0] = w;
    tri.invW[2] = 17.0f;
    for (const int mode : {0, 1, 2}) {
      picture.mode = mode;
      picture.Fill(0);
      picture.Add(tri);
      picture.Draw(GetParam());
      for (int i = 0; i < 8; ++i) EXPECT_EQ(picture.Pixel(i, 7 - i), 0x37A4C1FDu);
    }
  }
}

TEST_P(Fragment, ChannelsAreTruncatedNotRounded) {
  // b1 = 1/256 at column 0 of a leg of 128: 128 - 1/256 = 127.996.
  TriangleRecord tri = Ramp(128.0f);
  SetColor(tri, 0x80808080u, 0x7F7F7F7Fu, 0x80808080u);
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.Pixel(0, 0), 0x7F7F7F7Fu);
}

TEST_P(Fragment, ColourIsInterpolatedInPerspective) {
  // invW 1, 1/2, 1; red 0, 200, 0. At (7, 0): b1 = 15/32: (15/32 * 100) / (1 - 15/64) = 61.22.
  TriangleRecord tri = Ramp();
  tri.invW[1] = 0.5f;
  SetColor(tri, 0xFF000000u, 0xFFC80000u, 0xFF000000u);
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.Red(7, 0), 61u);
}

TEST_P(Fragment, WildColoursAreClampedAndWhatFitsNoIntegerStoresZero) {
  // At (0, 0) the weights are 30/32, 1/32, 1/32: with invW 1, w, 0 the divisor is 30/32 + w/32, the sum 255 * 30/32.
  struct Case {
    float w;
    std::uint32_t red;
  };
  const Case cases[] = {
      {-30.0f + 32.0f / 1024.0f, 255},    // 239 * 1024
      {-30.0f + 32.0f / 16777216.0f, 0},  // 239 * 2^24 is past the integers
      {-30.0f, 0},                        // 239 / 0
      {-30.0f - 32.0f / 1024.0f, 0},      // negative
      {std::numeric_limits<float>::quiet_NaN(), 0},
  };
  for (const Case& c : cases) {
    TriangleRecord tri = Ramp();
    tri.invW[1] = c.w;
    tri.invW[2] = 0.0f;
    SetColor(tri, 0xFFFF0000u, 0xFF000000u, 0u);
    picture.Add(tri);
    picture.Draw(GetParam());
    EXPECT_EQ(picture.Red(0, 0), c.red) << c.w;
  }
}

TEST_P(Fragment, TheChannelsKeepTheirPlaces) {
  TriangleRecord tri = Ramp();
  SetColor(tri, 0x00000000u, 0x20406080u, 0x00000000u);
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.Pixel(3, 0), 0x070E151Cu);  // 7/32 of each: 7, 14, 21, 28
}

}  // namespace
}  // namespace tlr2::judge
