// Texture coordinates, wrapping, the three filters and the levels, with texels worked by hand.
#include <limits>

#include "tile_picture.h"

namespace tlr2::judge {
namespace {

class Sampling : public WithKernel {
 protected:
  /// The red of the texel at a constant coordinate, of an opaque texture in replace mode.
  std::uint32_t RedAt(std::uint32_t texture, std::uint32_t filter, float s, float t) {
    TriangleRecord tri = Ramp();
    SetTexture(tri, texture, filter, s, 0.0f, t);
    picture.Add(tri);
    picture.Draw(GetParam());
    return picture.Red(0, 0);
  }

  /// One row of `reds`, each in all rows of a texture `height` high.
  std::uint32_t AddRow(std::vector<std::uint32_t> reds, bool clamp, std::int32_t height = 1) {
    std::vector<std::uint32_t> texels;
    for (std::int32_t y = 0; y < height; ++y) {
      for (const std::uint32_t red : reds) texels.push_back(red << 16 | 0xFF000000u);
    }
    return picture.AddTexture(static_cast<std::int32_t>(reds.size()), height, texels, clamp);
  }

  /// A square chain whose level n holds `reds[n]` everywhere.
  std::uint32_t AddChain(std::int32_t side, const std::vector<std::uint32_t>& reds, bool clamp) {
    std::vector<std::uint32_t> texels;
    std::int32_t size = side;
    for (const std::uint32_t red : reds) {
      texels.insert(texels.end(), static_cast<std::size_t>(size * size), red << 16 | 0xFF000000u);
      size = size > 1 ? size / 2 : 1;
    }
    return picture.AddTexture(side, side, texels, clamp);
  }
};
TLR2_FOR_ALL_KERNELS(Sampling);

constexpr float kInfinity = std::numeric_limits<float>::infinity();
const std::vector<std::uint32_t> kEight = {10, 20, 30, 40, 50, 60, 70, 80};

TEST_P(Sampling, NearestGivesEveryByteBack) {
  std::vector<std::uint32_t> texels;
  for (std::uint32_t i = 0; i < 256; ++i)
    texels.push_back(i | (255 - i) << 8 | (i ^ 0x55u) << 16 | (i * 7 & 255) << 24);
  const std::uint32_t texture = picture.AddTexture(256, 1, texels, false);
  for (std::uint32_t first = 0; first < 256; first += 8) {
    TriangleRecord tri = Ramp();
    SetTexture(tri, texture, 0, static_cast<float>(first) / 256.0f, 1.0f / 256.0f, 0.5f);
    picture.Add(tri);
    picture.Draw(GetParam());
    for (int x = 0; x < 8; ++x) {
      EXPECT_EQ(picture.Pixel(x, 3), texels[first + static_cast<std::uint32_t>(x)]);
    }
  }
}

TEST_P(Sampling, AOneTexelTextureIsFetchedAtEveryCoordinate) {
  const std::uint32_t texture = picture.AddTexture(1, 1, {0x81123456u}, false, 0xFFFFFFFFu);
  for (const float c : {0.0f, 0.5f, 0.999f, 1.0f, -0.25f, 12345.75f, -1e9f, 3e9f, 1e30f, kInfinity, -kInfinity,
                        std::numeric_limits<float>::quiet_NaN()}) {
    TriangleRecord tri = Ramp();
    SetTexture(tri, texture, 0, c, 0.0f, 0.5f);
    picture.Fill(0);
    picture.Add(tri);
    picture.Draw(GetParam());
    EXPECT_EQ(picture.Pixel(5, 2), 0x81123456u) << c;
  }
}

TEST_P(Sampling, NearestAtOneClampsToTheLastAndRepeatsToTheFirst) {
  EXPECT_EQ(RedAt(AddRow(kEight, true), 0, 1.0f, 0.5f), 80u);
  EXPECT_EQ(RedAt(AddRow(kEight, false), 0, 1.0f, 0.5f), 10u);
}

TEST_P(Sampling, NearestBelowZeroRepeatsFromTheEnd) {
  EXPECT_EQ(RedAt(AddRow(kEight, false), 0, -0.25f, 0.5f), 70u);
  EXPECT_EQ(RedAt(AddRow(kEight, true), 0, -0.25f, 0.5f), 10u);
}

TEST_P(Sampling, NearestHasNoHalfTexelOffset) {
  const std::uint32_t texture = AddRow(kEight, false);
  EXPECT_EQ(RedAt(texture, 0, 0.125f, 0.5f), 20u);
  EXPECT_EQ(RedAt(texture, 0, 0.1249f, 0.5f), 10u);
}

TEST_P(Sampling, TheAxesWrapOnTheirOwn) {
  std::vector<std::uint32_t> texels;
  for (std::uint32_t i = 0; i < 4; ++i) texels.push_back((i + 1) * 10 << 16);  // 10 20 / 30 40
  const std::uint32_t texture = picture.AddTexture(2, 2, texels, true);
  EXPECT_EQ(RedAt(texture, 0, 0.0f, 5.0f), 30u);
  EXPECT_EQ(RedAt(texture, 0, 7.0f, -5.0f), 20u);
}

TEST_P(Sampling, ANumberThatFitsNoIntegerGoesToTheFirstTexel) {
  for (const bool clamp : {false, true}) {
    for (const float wild : {1e30f, -1e30f, kInfinity, -kInfinity, std::numeric_limits<float>::quiet_NaN(), 3e8f}) {
      EXPECT_EQ(RedAt(AddRow(kEight, clamp), 0, wild, 0.5f), 10u) << wild;
    }
  }
}

TEST_P(Sampling, BilinearAtZeroWithClampIsTheFirstColumn) {
  EXPECT_EQ(RedAt(AddRow(kEight, true), 2, 0.0f, 0.5f), 10u);
  EXPECT_EQ(RedAt(AddRow(kEight, true), 2, 1.0f, 0.5f), 80u);
}

TEST_P(Sampling, BilinearAtZeroWithRepeatBlendsLastAndFirst) {
  EXPECT_EQ(RedAt(AddRow({11, 20, 30, 40, 50, 60, 70, 80}, false), 2, 0.0f, 0.5f), 45u);  // 45.5
  EXPECT_EQ(RedAt(AddRow({11, 20, 30, 40, 50, 60, 70, 80}, false), 2, 1.0f, 0.5f), 45u);
}

TEST_P(Sampling, BilinearWeighsTheFourNeighbours) {
  // Weights at (0.5, 0.75): fs = 0.5, ft = 1.0: with a 2 by 2 texture wx = 0.5, y0 = 1, wy = 0.
  const std::vector<std::uint32_t> texels = {10u << 16, 60u << 16, 101u << 16, 200u << 16};
  const std::uint32_t texture = picture.AddTexture(2, 2, texels, true);
  EXPECT_EQ(RedAt(texture, 2, 0.5f, 0.75f), 150u);   // (101 + 200) / 2
  EXPECT_EQ(RedAt(texture, 2, 0.5f, 0.5f), 92u);     // 371 / 4
  EXPECT_EQ(RedAt(texture, 2, 0.375f, 0.25f), 22u);  // wx = 0.25: 10 * 0.75 + 60 * 0.25 = 22.5
  EXPECT_EQ(RedAt(texture, 2, 0.25f, 0.375f), 32u);  // wy = 0.25: 10 * 0.75 + 101 * 0.25 = 32.75
}

TEST_P(Sampling, EveryFootprintOfARepeatingTextureHasItsFourTexels) {
  const auto red = [](int x, int y) {  // a quarter of four neighbours' sum is half past an integer
    return static_cast<std::uint32_t>(4 * ((x * 5 + y * 3) % 16) + (x % 2 == 0 && y % 2 == 0 ? 2 : 0));
  };
  std::vector<std::uint32_t> texels;
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 8; ++x) texels.push_back(red(x, y) << 16);
  }
  const std::uint32_t texture = picture.AddTexture(8, 4, texels, false);
  for (int y = -4; y < 8; ++y) {
    for (int x = -8; x < 16; ++x) {  // between the texel at its left and itself
      const int left = (x + 15) % 8, right = (x + 16) % 8, upper = (y + 7) % 4, lower = (y + 8) % 4;
      const std::uint32_t sum = red(left, upper) + red(right, upper) + red(left, lower) + red(right, lower);
      EXPECT_EQ(RedAt(texture, 2, static_cast<float>(x) / 8, static_cast<float>(y) / 4), sum / 4) << x << ' ' << y;
    }
  }
}

TEST_P(Sampling, AmongOpaqueTexelsOneThatIsNotHasItsShareOfAlpha) {
  for (std::size_t clear = 0; clear < 4; ++clear) {
    std::vector<std::uint32_t> texels(4, 0xFF808080u);
    texels[clear] = 0x0D808080u;
    const std::uint32_t texture = picture.AddTexture(2, 2, texels, true, 0xFFFFFFFFu);
    TriangleRecord tri = Ramp();
    SetTexture(tri, texture, 2, 0.5f, 0.0f, 0.5f);
    picture.Fill(0);
    picture.Add(tri);
    picture.Draw(GetParam());
    EXPECT_EQ(picture.Pixel(3, 3) >> 24, 194u) << clear;  // 778 / 4
  }
}

TEST_P(Sampling, BilinearKnowsNoLevels) {
  const std::uint32_t texture = AddChain(16, {99, 1, 1, 1, 1}, false);
  TriangleRecord tri = Ramp();
  SetTexture(tri, texture, 2, 0.03125f, 0.5f, 0.03125f);  // eight texels a pixel
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.Red(6, 6), 99u);
}

TEST_P(Sampling, PerspectiveDividesByTheInterpolatedW) {
  // invW 1, 1/4, 1; s 0, 1, 0. At centre (4.5, 3.5): s' = b1/4 / (1 - 3/4 b1), b1 = 9/32 = 0.0704 / 0.789 = 0.0891.
  const std::uint32_t texture = AddRow({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}, true);
  TriangleRecord tri = Ramp();
  SetTexture(tri, texture, 0, 0.0f, 1.0f / 16.0f, 0.5f);
  tri.invW[1] = 0.25f;
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.Red(4, 3), 2u);  // 1.43 texels
  EXPECT_EQ(picture.Red(7, 3), 3u);  // b1 = 15/32: 0.1172 / 0.6484 = 0.1807, 2.89 texels
  EXPECT_EQ(picture.Red(0, 0), 1u);
}

TEST_P(Sampling, FourTexelsAPixelInOneAxisIsLevelTwoAlone) {
  // Level 2 of a 64 texture has 16 columns, one a pixel here, sampled at their centres.
  std::vector<std::uint32_t> texels(64 * 64 + 32 * 32, 0xFFFF0000u);
  for (int y = 0; y < 16; ++y) {
    for (std::uint32_t x = 0; x < 16; ++x) texels.push_back((x * 3 + 5) << 16);
  }
  texels.insert(texels.end(), 64 + 16 + 4 + 1, 0xFFFF0000u);
  const std::uint32_t texture = picture.AddTexture(64, 64, texels, false);
  for (const std::uint32_t filter : {1u, 3u, 0xFFFFFFFFu}) {
    TriangleRecord tri = Ramp();
    SetTexture(tri, texture, filter, 0.0f, 4.0f / 64.0f, 8.5f / 16.0f);
    picture.Fill(0);
    picture.Add(tri);
    picture.Draw(GetParam());
    for (int x = 0; x < 8; ++x) {
      for (int y = 0; y < 8; ++y) EXPECT_EQ(picture.Red(x, y), static_cast<std::uint32_t>(x * 3 + 5));
    }
  }
}

TEST_P(Sampling, TheFootprintIsAMaximumOverBothAxesAndNeighbours) {
  // rho = 4 through t down the screen, and s by 1: still level 2 alone.
  const std::uint32_t texture = AddChain(64, {1, 2, 77, 3, 4, 5, 6}, false);
  TriangleRecord tri = Ramp();
  SetTexture(tri, texture, 1, 0.0f, 1.0f / 64.0f, 0.0f);
  tri.t[2] = 4.0f / 64.0f * 16.0f;
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_NEAR(static_cast<int>(picture.Red(4, 4)), 77, 1);
}

TEST_P(Sampling, ThreeTexelsAPixelBlendLevelsOneAndTwoEqually) {
  const std::uint32_t texture = AddChain(64, {255, 100, 201, 255, 255, 255, 255}, false);
  TriangleRecord tri = Ramp();
  SetTexture(tri, texture, 1, 0.0f, 3.0f / 64.0f, 0.5f);
  picture.Add(tri);
  picture.Draw(GetParam());
  for (int i = 0; i < 8; ++i) EXPECT_EQ(picture.Red(i, 7 - i), 150u);  // 150.5
}

TEST_P(Sampling, BelowOneTexelAPixelLevelOneHasNoWeight) {
  const std::uint32_t texture = AddChain(64, {0, 255, 255, 255, 255, 255, 255}, false);
  for (const float rho : {0.0f, 0.5f, 0.9f, 1.0f}) {
    TriangleRecord tri = Ramp();
    SetTexture(tri, texture, 1, 0.0f, rho / 64.0f, 0.5f);
    picture.Add(tri);
    picture.Draw(GetParam());
    EXPECT_EQ(picture.Red(3, 3), 0u) << rho;
  }
}

TEST_P(Sampling, BetweenOneAndTwoLevelOneAlreadyBlendsIn) {
  const std::uint32_t texture = AddChain(64, {0, 201, 255, 255, 255, 255, 255}, false);
  TriangleRecord tri = Ramp();
  SetTexture(tri, texture, 1, 0.0f, 1.5f / 64.0f, 0.5f);
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.Red(3, 3), 100u);  // half of 201
}

TEST_P(Sampling, ADeadLaneThatIsNoNumberReachesItsGroupThroughTheFootprint) {
  // On the far edge 1/w is 0 and the coordinates are no numbers. The first pixel's neighbours, two pixels across and
  // down, lie there; the next pixel's do not.
  const std::uint32_t texture = AddChain(4, {128, 128, 128}, true);
  TriangleRecord tri = Ramp(3.0f);
  SetTexture(tri, texture, 1, 0.5f, 0.0f, 0.5f);
  tri.invW[1] = 0.0f;
  tri.invW[2] = 0.0f;
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.Pixel(0, 0), 0u) << "a weight that is no number stores 0";
  EXPECT_NEAR(static_cast<int>(picture.Red(1, 0)), 128, 1);
  EXPECT_NEAR(static_cast<int>(picture.Red(0, 1)), 128, 1);
  EXPECT_EQ(picture.Pixel(2, 0), TilePicture::kBackground);
}

TEST_P(Sampling, AnEntryOfZerosIsNoTexture) {
  const std::uint32_t absent = picture.AddAbsentTexture();
  for (const std::uint32_t env : {0u, 2u, 3u}) {
    TriangleRecord tri = Ramp();
    SetTexture(tri, absent, 1, 0.5f, 0.0f, 0.5f);
    tri.texEnvMode = env;
    SetColor(tri, 0x10203040u, 0x50607080u, 0x10203040u);
    picture.Add(tri);
    picture.Draw(GetParam());
    // b1 = 15/32 at column 7: 0x10 + 0x40 * 15/32 = 0x2E.
    EXPECT_EQ(picture.Pixel(7, 0), 0x2E3E4E5Eu) << env;
  }
}

TEST_P(Sampling, PastTheChainTheFirstTexelAndTheWordAheadStand) {
  // 4 by 4 has three levels. At rho = 5: 3/4 of level 2, 1/4 of the mean of the first texel and the word ahead of it.
  std::vector<std::uint32_t> texels(16 + 4, 0xFFFF0000u);
  texels[0] = 201u << 16;
  texels.push_back(50u << 16);
  for (const bool clamp : {false, true}) {
    const std::uint32_t texture = picture.AddTexture(4, 4, texels, clamp, 102u << 16);
    struct Case {
      float rho;
      std::uint32_t red;
    };
    for (const Case c : {Case{5.0f, 75}, Case{6.0f, 100}, Case{8.0f, 151}, Case{9.0f, 151}, Case{1000.0f, 151}}) {
      TriangleRecord tri = Ramp();
      SetTexture(tri, texture, 1, 0.0f, c.rho / 4.0f, 0.5f);
      picture.Add(tri);
      picture.Draw(GetParam());
      EXPECT_EQ(picture.Red(3, 3), c.red) << c.rho << clamp;
      EXPECT_EQ(picture.Red(6, 1), c.red) << c.rho << clamp;
    }
  }
}

TEST_P(Sampling, TheLevelPastTheEndHasNoWeightBeforeTheLastLevelIsReached) {
  std::vector<std::uint32_t> texels(16, 255u << 16);
  texels.insert(texels.end(), 4, 0u);
  texels.push_back(0u);
  const std::uint32_t texture = picture.AddTexture(4, 4, texels, false, 255u << 16);
  for (const float rho : {2.0f, 3.0f, 4.0f}) {
    TriangleRecord tri = Ramp();
    SetTexture(tri, texture, 1, 0.0f, rho / 4.0f, 0.5f);
    picture.Add(tri);
    picture.Draw(GetParam());
    EXPECT_EQ(picture.Red(5, 5), 0u) << rho;
  }
}

TEST_P(Sampling, AWidthThatIsNoPowerOfTwoRepeatsWithGaps) {
  const std::uint32_t texture = AddRow({10, 20, 30}, false);
  TriangleRecord tri = Ramp();
  SetTexture(tri, texture, 0, 0.0f, 1.0f / 3.0f, 0.5f);
  picture.Add(tri);
  picture.Draw(GetParam());
  for (int x = 0; x < 8; ++x) EXPECT_EQ(picture.Red(x, 0), x & 2 ? 30u : 10u) << x;
}

}  // namespace
}  // namespace tlr2::judge
