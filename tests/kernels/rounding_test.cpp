// Where each product is rounded and which is fused on to a sum: inputs on which any other choice shows in a byte. The
// expected figures come from exact arithmetic, rounded step by step.
#include <bit>
#include <cmath>
#include <limits>

#include "fused.h"
#include "tile_picture.h"

namespace tlr2::judge {
namespace {

class Rounding : public WithKernel {
 protected:
  std::uint32_t Either(std::uint32_t fused, std::uint32_t separate) const {
    return GetParam().fused ? fused : separate;
  }

  std::uint32_t Draw(const TriangleRecord& tri, std::int32_t x = 2, std::int32_t y = 3) {
    picture.Add(tri);
    picture.Draw(GetParam());
    return picture.Red(x, y);
  }
};
TLR2_FOR_ALL_KERNELS(Rounding);

TEST_P(Rounding, DepthIsAccumulatedFromTheSecondVertex) {
  TriangleRecord tri = Cover(0.0f, 0xFFFFFFFFu);
  tri.depthFunc = 0;
  const std::uint32_t x[3] = {0xC057AE14u, 0x41ADD70Au, 0x3F9851ECu};
  const std::uint32_t y[3] = {0xC0B3851Fu, 0x401E147Bu, 0x419EA3D7u};
  const std::uint32_t z[3] = {0x3DFCD6DEu, 0x3F43F35Cu, 0x3EE9E043u};
  for (int i = 0; i < 3; ++i) {
    tri.x[i] = std::bit_cast<float>(x[i]);
    tri.y[i] = std::bit_cast<float>(y[i]);
    tri.z[i] = std::bit_cast<float>(z[i]);
  }
  picture.AddWhereItIs(tri);
  picture.DrawAtOrigin(GetParam());
  const auto bits = [&](std::int32_t column, std::int32_t row) {
    return std::bit_cast<std::uint32_t>(picture.Depth(column - 8, row - 8));
  };
  EXPECT_EQ(bits(0, 0), 0x3E8866E2u);
  EXPECT_EQ(bits(7, 0), 0x3ED9A3AAu);
  EXPECT_EQ(bits(3, 1), Either(0x3EAFD8A6u, 0x3EAFD8A7u));
  EXPECT_EQ(bits(6, 2), 0x3ED74A6Cu);
  EXPECT_EQ(bits(1, 4), 0x3EA6854Fu);
  EXPECT_EQ(bits(2, 6), 0x3EBB6200u);
  EXPECT_EQ(bits(7, 7), Either(0x3EFA09B5u, 0x3EFA09B6u));
}

TEST_P(Rounding, AlphaBlendingRoundsTheSourceProductAndFusesTheOther) {
  struct Case {
    std::uint32_t source, alpha, target, fused, separate;
  };
  // In the last two the two kinds agree, and fusing the source's product instead would be one less.
  for (const Case c : {Case{1, 51, 21, 16, 17}, Case{8, 51, 43, 36, 35}, Case{15, 51, 45, 39, 38},
                       Case{22, 51, 77, 66, 65}, Case{100, 51, 45, 56, 56}, Case{100, 51, 50, 60, 60}}) {
    TriangleRecord tri = Ramp();
    tri.blendMode = 3;
    const std::uint32_t color = c.alpha << 24 | c.source * kGrey;
    SetColor(tri, color, color, color);
    picture.Fill(c.target * kGrey);
    EXPECT_EQ(Draw(tri), Either(c.fused, c.separate)) << c.source;
  }
}

TEST_P(Rounding, ANearestTexelPassesThroughTheUnitScale) {
  // 48 * (1/255) * 255 is one unit above 48, so that a is a little more and the target's share a little less.
  struct Case {
    std::uint32_t texel, alpha, target, red;
  };
  for (const Case c : {Case{1, 48, 86, 69}, Case{6, 48, 91, 74}, Case{11, 48, 96, 79}}) {
    TriangleRecord tri = Ramp();
    SetTexture(tri, picture.AddTexture(1, 1, {c.alpha << 24 | c.texel * kGrey}, true), 0, 0.5f, 0.0f, 0.5f);
    tri.blendMode = 3;
    picture.Fill(c.target * kGrey);
    EXPECT_EQ(Draw(tri), c.red) << c.texel;
  }
}

TEST_P(Rounding, DecalRoundsTheTexelsProductAndFusesTheOther) {
  struct Case {
    std::uint32_t texel, alpha, fragment, fused, separate;
  };
  for (const Case c : {Case{1, 50, 52, 41, 42}, Case{41, 50, 92, 82, 81}, Case{81, 50, 132, 122, 121}}) {
    TriangleRecord tri = Ramp();
    SetTexture(tri, picture.AddTexture(1, 1, {c.alpha << 24 | c.texel * kGrey}, true), 0, 0.5f, 0.0f, 0.5f);
    tri.texEnvMode = 2;
    SetColor(tri, c.fragment * kGrey, c.fragment * kGrey, c.fragment * kGrey);
    EXPECT_EQ(Draw(tri), Either(c.fused, c.separate)) << c.texel;
  }
}

TEST_P(Rounding, TheBlendEnvironmentRoundsItsColoursProductAndFusesTheOther) {
  struct Case {
    std::uint32_t texel, env, fragment, fused, separate;
  };
  for (const Case c : {Case{48, 2, 87, 70, 71}, Case{89, 13, 13, 12, 13}, Case{129, 16, 101, 57, 58}}) {
    TriangleRecord tri = Ramp();
    SetTexture(tri, picture.AddTexture(1, 1, {c.texel * kGrey}, true), 0, 0.5f, 0.0f, 0.5f);
    tri.texEnvMode = 3;
    tri.texEnvColor = c.env * kGrey;
    SetColor(tri, c.fragment * kGrey, c.fragment * kGrey, c.fragment * kGrey);
    EXPECT_EQ(Draw(tri), Either(c.fused, c.separate)) << c.texel;
  }
}

TEST_P(Rounding, BilinearAccumulatesTopRightTopLeftBottomRightBottomLeft) {
  struct Case {
    int s, t;  // in 64ths
    std::uint32_t topLeft, topRight, bottomLeft, bottomRight, fused, separate;
  };
  for (const Case c : {Case{26, 17, 76, 190, 34, 116, 109, 110}, Case{40, 26, 223, 139, 165, 73, 139, 140},
                       Case{43, 37, 146, 107, 219, 180, 161, 160}, Case{26, 23, 23, 14, 124, 67, 39, 39}}) {
    TriangleRecord tri = Ramp();
    const std::vector<std::uint32_t> texels = {c.topLeft * kGrey, c.topRight * kGrey, c.bottomLeft * kGrey,
                                               c.bottomRight * kGrey};
    const std::uint32_t texture = picture.AddTexture(2, 2, texels, true);
    SetTexture(tri, texture, 2, static_cast<float>(c.s) / 64.0f, 0.0f, static_cast<float>(c.t) / 64.0f);
    EXPECT_EQ(Draw(tri), Either(c.fused, c.separate)) << c.s;
  }
}

TEST_P(Rounding, TheFartherLevelsProductIsRoundedAndTheNearerFused) {
  struct Case {
    int rho;  // 1 + rho/32 texels a pixel
    std::uint32_t level0, level1;
    int column;
    std::uint32_t fused, separate;
  };
  for (const Case c : {Case{5, 175, 15, 3, 150, 149}, Case{8, 181, 25, 5, 142, 141}, Case{8, 189, 121, 1, 172, 171}}) {
    std::vector<std::uint32_t> texels(64 * 64, c.level0 * kGrey);
    texels.insert(texels.end(), 32 * 32 + 16 * 16 + 8 * 8 + 4 * 4 + 4 + 1, c.level1 * kGrey);
    TriangleRecord tri = Ramp();
    SetTexture(tri, picture.AddTexture(64, 64, texels, false), 1, 0.0f,
               (1.0f + static_cast<float>(c.rho) / 32.0f) / 64.0f, 0.5f);
    EXPECT_EQ(Draw(tri, c.column, 4), Either(c.fused, c.separate)) << c.column;
  }
}

TEST_P(Rounding, ColourRoundsTheFirstProductOfItsSum) {
  struct Case {
    std::uint32_t w[3];
    std::uint32_t color[3];
    std::uint32_t fused, separate;
  };
  for (const Case& c : {Case{{0x3EFC2F40u, 0x3E54D270u, 0x3E4E9BBFu}, {249, 128, 68}, 218, 217},
                        Case{{0x3F712F2Bu, 0x3F6E832Bu, 0x3EC21790u}, {67, 67, 67}, 66, 67}}) {
    TriangleRecord tri = Ramp();
    for (int i = 0; i < 3; ++i) tri.invW[i] = std::bit_cast<float>(c.w[i]);
    // Blue differs, so that the colours are not all equal.
    SetColor(tri, c.color[0] << 16, c.color[1] << 16 | 1, c.color[2] << 16);
    EXPECT_EQ(Draw(tri), Either(c.fused, c.separate));
  }
}

TEST_P(Rounding, SmallNumbersAreNotFlushed) {
  TriangleRecord tri = Cover(1e-42f, 0xFFFFFFFFu);
  tri.depthFunc = 5;
  tri.z[0] = tri.z[1] = tri.z[2] = 3e-42f;
  for (int i = 0; i < 3; ++i) {
    tri.x[i] = Ramp().x[i];
    tri.y[i] = Ramp().y[i];
  }
  picture.FillDepth(1e-42f);
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_NE(picture.Pixel(0, 0), TilePicture::kBackground);
  EXPECT_GT(picture.Depth(0, 0), 1e-42f);
}

// -- The scalar form's own fused product ----------------------------------------------------------------------------

TEST(FusedProduct, KeepsWhatASeparateRoundingLoses) {
  const float a = 1.0f + std::ldexp(1.0f, -12);
  EXPECT_EQ(a * a, 1.0f + std::ldexp(1.0f, -11));
  EXPECT_EQ(FusedMultiplySubtract(a, a, 1.0f + std::ldexp(1.0f, -11)), std::ldexp(1.0f, -24));
  EXPECT_EQ(FusedMultiplyAdd(a, a, -(1.0f + std::ldexp(1.0f, -11))), std::ldexp(1.0f, -24));
}

TEST(FusedProduct, SeesOnWhichSideOfATieItLies) {
  // 2^24 + 1 is a tie between two floats; a product of 2^-60 decides it, far below a double's last bit.
  const float big = std::ldexp(1.0f, 24);
  const float tiny = std::ldexp(1.0f, -30);
  const float one = std::ldexp(1.0f, 0) + std::ldexp(1.0f, -23);
  EXPECT_EQ(FusedMultiplyAdd(one, big, 1.0f), std::ldexp(1.0f, 24) + 4.0f);  // 2^24 + 2 + 1: to even
  EXPECT_EQ(FusedMultiplyAdd(1.0f, 1.0f, std::ldexp(1.0f, -24)), 1.0f);
  EXPECT_EQ(AddRoundedOnce(1.0 + std::ldexp(1.0, -24), static_cast<double>(tiny * tiny)), one);
  EXPECT_EQ(AddRoundedOnce(1.0 + std::ldexp(1.0, -24), -static_cast<double>(tiny * tiny)), 1.0f);
  EXPECT_EQ(AddRoundedOnce(-1.0 - std::ldexp(1.0, -24), -static_cast<double>(tiny * tiny)), -one);
}

TEST(FusedProduct, HandlesTheEndsOfTheRange) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  const float most = std::numeric_limits<float>::max();
  const float least = std::numeric_limits<float>::denorm_min();
  EXPECT_EQ(FusedMultiplyAdd(most, 2.0f, -most), most);
  EXPECT_EQ(FusedMultiplyAdd(most, 2.0f, 0.0f), kInfinity);
  EXPECT_EQ(FusedMultiplyAdd(least, 0.5f, 0.0f), 0.0f);
  EXPECT_EQ(FusedMultiplyAdd(least, 0.75f, 0.0f), least);
  EXPECT_EQ(FusedMultiplyAdd(least, 0.5f, least), 2 * least);  // 1.5: to even
  EXPECT_TRUE(std::isnan(FusedMultiplyAdd(kInfinity, 1.0f, -kInfinity)));
  EXPECT_TRUE(std::isnan(FusedMultiplyAdd(kInfinity, 0.0f, 1.0f)));
}

}  // namespace
}  // namespace tlr2::judge
