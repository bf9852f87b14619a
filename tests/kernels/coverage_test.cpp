// Which pixels a triangle touches, depth, and the tile's far bound.
#include <limits>

#include "tile_picture.h"

namespace tlr2::judge {
namespace {

class Coverage : public WithKernel {};
class FarBound : public WithKernel {};
TLR2_FOR_ALL_KERNELS(Coverage);
TLR2_FOR_ALL_KERNELS(FarBound);

constexpr std::uint32_t kRed = 0xFFFF0000u;
constexpr std::uint32_t kBlue = 0xFF0000FFu;

TriangleRecord Corners(float xa, float ya, float xb, float yb, float xc, float yc) {
  TriangleRecord tri = Ramp();
  const float x[3] = {xa, xb, xc};
  const float y[3] = {ya, yb, yc};
  for (int i = 0; i < 3; ++i) {
    tri.x[i] = x[i];
    tri.y[i] = y[i];
  }
  return tri;
}

int Painted(TilePicture& picture) {
  int count = 0;
  for (int y = -8; y < 16; ++y) {
    for (int x = -8; x < 16; ++x) count += picture.Pixel(x, y) != TilePicture::kBackground ? 1 : 0;
  }
  return count;
}

TEST_P(Coverage, CentresOnASharedEdgeAreDrawnOnce) {
  // Both triangles share the segment (a, b), which runs through centres; each adds one.
  struct Shared {
    float ax, ay, bx, by, leftX, leftY, rightX, rightY;
  };
  const Shared cases[] = {
      {3.5f, -32.5f, 3.5f, 39.5f, -64.5f, 3.5f, 71.5f, 3.5f},        // vertical
      {-32.5f, 4.5f, 39.5f, 4.5f, 3.5f, -64.5f, 3.5f, 71.5f},        // horizontal
      {-32.5f, -32.5f, 39.5f, 39.5f, 70.5f, -64.5f, -64.5f, 70.5f},  // down to the right
      {-31.5f, 39.5f, 39.5f, -31.5f, -64.5f, -64.5f, 70.5f, 70.5f},  // up to the right
      {-32.5f, -14.5f, 39.5f, 21.5f, 70.5f, -64.5f, -64.5f, 70.5f},  // one down for two across
      {0.5f, -28.5f, 6.5f, 43.5f, -64.5f, 3.5f, 71.5f, 3.5f},        // steep
  };
  for (const Shared& shared : cases) {
    for (int winding = 0; winding < 16; ++winding) {
      TriangleRecord left = Corners(shared.ax, shared.ay, shared.bx, shared.by, shared.leftX, shared.leftY);
      TriangleRecord right = Corners(shared.ax, shared.ay, shared.bx, shared.by, shared.rightX, shared.rightY);
      if (winding & 1) left = Reversed(left);
      if (winding & 2) right = Reversed(right);
      SetColor(left, 0x01010101u, 0x01010101u, 0x01010101u);
      SetColor(right, 0x02020202u, 0x02020202u, 0x02020202u);
      left.blendMode = 1;
      right.blendMode = 1;
      picture.Fill(0);
      picture.mode = winding & 4 ? 1 : 0;
      picture.Add(winding & 8 ? left : right);
      picture.Add(winding & 8 ? right : left);
      picture.Draw(GetParam());
      for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) {
          const std::uint32_t pixel = picture.Pixel(x, y);
          EXPECT_TRUE(pixel == 0x01010101u || pixel == 0x02020202u)
              << "(" << x << ", " << y << ") " << std::hex << pixel << " winding " << winding;
        }
      }
    }
  }
}

TEST_P(Coverage, TopAndLeftEdgesOwnTheirCentresInBothWindings) {
  const TriangleRecord tri = Corners(0.5f, 0.5f, 4.5f, 0.5f, 0.5f, 4.5f);
  for (const TriangleRecord& wound : {tri, Reversed(tri)}) {
    picture.Fill(TilePicture::kBackground);
    picture.Add(wound);
    picture.Draw(GetParam());
    for (int y = 0; y < 8; ++y) {
      for (int x = 0; x < 8; ++x) {
        EXPECT_EQ(picture.Pixel(x, y) != TilePicture::kBackground, x + y < 4) << x << ", " << y;
      }
    }
  }
}

TEST_P(Coverage, TheBiasIsOne256thOfTheDoubledArea) {
  // A vertical edge of length 32: a centre at distance 1 / 8192 has the edge value 1 / 256.
  constexpr float kEdge = 1.0f / 8192.0f;
  constexpr float kHair = 1.0f / 1048576.0f;
  struct Case {
    float offset;
    bool inclusive;
    bool inside;
  };
  const Case cases[] = {{kEdge, true, true},  {kEdge + kHair, true, false},  {0.0f, true, true},
                        {kEdge, false, true}, {kEdge - kHair, false, false}, {0.0f, false, false}};
  for (const Case& c : cases) {
    const float line = 3.5f + c.offset;
    const TriangleRecord tri =
        c.inclusive ? Corners(line, -8.0f, 40.0f, 8.0f, line, 24.0f) : Corners(line, -8.0f, line, 24.0f, -40.0f, 8.0f);
    for (const TriangleRecord& wound : {tri, Reversed(tri)}) {
      picture.Fill(TilePicture::kBackground);
      picture.Add(wound);
      picture.Draw(GetParam());
      for (int y = 0; y < 8; ++y) {
        EXPECT_EQ(picture.Pixel(3, y) != TilePicture::kBackground, c.inside) << c.offset << c.inclusive;
        EXPECT_EQ(picture.Pixel(4, y) != TilePicture::kBackground, c.inclusive);
        EXPECT_EQ(picture.Pixel(2, y) != TilePicture::kBackground, !c.inclusive);
      }
    }
  }
}

TEST_P(Coverage, EveryPixelOfTheTileHasItsOwnDepth) {
  for (const int mode : {0, 1, 2}) {
    TriangleRecord tri = Ramp();
    tri.z[0] = 0.0f;
    tri.z[1] = 1.0f;
    tri.z[2] = 0.5f;
    tri.depthTest = 1;
    tri.depthFunc = 0;
    tri.depthWrite = 1;
    picture.FillDepth(9.0f);
    picture.mode = mode;
    picture.Add(tri);
    picture.Draw(GetParam());
    for (int y = -8; y < 16; ++y) {
      for (int x = -8; x < 16; ++x) {
        const bool inTile = x >= 0 && x < 8 && y >= 0 && y < 8;
        const float expected = (static_cast<float>(x) + 0.5f) / 16.0f + (static_cast<float>(y) + 0.5f) / 32.0f;
        EXPECT_EQ(picture.Depth(x, y), inTile ? expected : 9.0f) << x << ", " << y;
      }
    }
  }
}

TEST_P(Coverage, ComparisonsPassAsTheirNamesSay) {
  struct Row {
    std::uint32_t func;
    bool below, equal, above, nan;
  };
  const Row rows[] = {{0, true, true, true, true},     {1, true, false, false, false},
                      {2, true, true, false, false},   {3, false, true, false, false},
                      {4, false, true, true, false},   {5, false, false, true, false},
                      {6, true, false, true, true},    {7, false, false, false, false},
                      {8, false, false, false, false}, {0xFFFFFFFFu, false, false, false, false}};
  for (const Row& row : rows) {
    for (const int mode : {0, 1}) {
      TriangleRecord tri = Cover(0.5f, kRed);
      tri.depthFunc = row.func;
      tri.depthWrite = 0;
      picture.Fill(0);
      picture.mode = mode;
      picture.cell = 1.0f;
      picture.FillDepth(0.5f);
      picture.Depth(1, 0) = 0.75f;
      picture.Depth(2, 5) = 0.25f;
      picture.Depth(3, 3) = std::numeric_limits<float>::quiet_NaN();
      picture.Add(tri);
      picture.Draw(GetParam());
      EXPECT_EQ(picture.Pixel(1, 0) == kRed, row.below) << row.func;
      EXPECT_EQ(picture.Pixel(0, 0) == kRed, row.equal) << row.func;
      EXPECT_EQ(picture.Pixel(2, 5) == kRed, row.above) << row.func;
      EXPECT_EQ(picture.Pixel(3, 3) == kRed, row.nan) << row.func;
      EXPECT_EQ(picture.Depth(1, 0), 0.75f);
    }
  }
}

TEST_P(Coverage, WithoutDepthTestNoDepthIsWrittenAndNothingSkipped) {
  TriangleRecord tri = Cover(0.9f, kRed);
  tri.depthTest = 0;
  picture.cell = 0.25f;
  picture.FillDepth(0.125f);
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(Painted(picture), 64);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(picture.Depth(i, i), 0.125f);
  EXPECT_EQ(picture.cell, 0.25f);
}

TEST_P(Coverage, DegenerateTrianglesDrawNothing) {
  picture.Add(Corners(0.5f, 0.5f, 4.5f, 4.5f, 2.5f, 2.5f));
  picture.Add(Corners(2.5f, 2.5f, 2.5f, 2.5f, 2.5f, 2.5f));
  picture.Add(Corners(0.5f, 2.5f, 7.5f, 2.5f, 0.5f, 2.5f));
  picture.Draw(GetParam());
  EXPECT_EQ(Painted(picture), 0);
}

TEST_P(Coverage, AVertexThatIsNoNumberOrInfiniteDrawsNothing) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  for (const float wild : {std::numeric_limits<float>::quiet_NaN(), kInfinity, -kInfinity}) {
    for (int i = 0; i < 3; ++i) {
      TriangleRecord tri = Cover(0.5f, kRed);
      tri.depthTest = 0;
      tri.x[i] = wild;
      picture.Add(tri);
      tri = Cover(0.5f, kRed);
      tri.depthTest = 0;
      tri.y[i] = wild;
      picture.Add(tri);
    }
    // Its edge values alone would let the rows above the far vertex through.
    picture.Add(Corners(0.0f, 0.0f, wild, 4.0f, 0.0f, 8.0f));
    picture.Draw(GetParam());
    EXPECT_EQ(Painted(picture), 0);
  }
}

TEST_P(Coverage, AnAreaThatOverflowsToNoNumberDrawsNothing) {
  // All vertices are finite, and at the first centre all edge values are below zero.
  for (const float far : {3e38f, 2.5e38f}) {
    picture.AddWhereItIs(Corners(far, 0.0f, -2e19f, 0.0f, -1.1e38f, 1.1f));
    for (const int mode : {0, 1}) {
      picture.mode = mode;
      picture.DrawAtOrigin(GetParam());
      EXPECT_EQ(Painted(picture), 0);
    }
  }
}

TEST_P(Coverage, ManySmallTrianglesKeepTheirOwnPixels) {
  // As many as a tile has pixels, so that no list of triangles that wait for their colours holds them all.
  for (const std::int32_t mode : {0, 1, 2}) {
    TilePicture many;
    many.mode = mode;
    many.Fill(TilePicture::kBackground);
    many.FillDepth(1.0f);
    const auto color = [](std::int32_t pixel) { return 0xFF000000u + 0x030507u * static_cast<std::uint32_t>(pixel); };
    for (std::int32_t pixel = 0; pixel < 64; ++pixel) {
      TriangleRecord tri = Cover(0.5f, color(pixel));
      const float x = static_cast<float>(pixel % 8) + 0.25f, y = static_cast<float>(pixel / 8) + 0.25f;
      tri.x[0] = tri.x[2] = x;
      tri.y[0] = tri.y[1] = y;
      tri.x[1] = x + 0.625f;  // the pixel's centre and no other one
      tri.y[2] = y + 0.625f;
      many.Add(tri);
    }
    many.Draw(GetParam());
    for (std::int32_t pixel = 0; pixel < 64; ++pixel)
      EXPECT_EQ(many.Pixel(pixel % 8, pixel / 8), color(pixel)) << pixel;
  }
}

TEST_P(Coverage, TrianglesReachAPixelInListOrder) {
  for (const int mode : {0, 1, 2}) {
    picture.mode = mode;
    TriangleRecord first = Cover(0.5f, kRed);
    TriangleRecord second = Cover(0.5f, kBlue);
    first.depthTest = 0;
    second.depthTest = 0;
    picture.Add(first);
    picture.Add(second);
    picture.Draw(GetParam());
    for (int y = 0; y < 8; ++y) {
      for (int x = 0; x < 8; ++x) EXPECT_EQ(picture.Pixel(x, y), kBlue);
    }
  }
}

// -- The far bound --------------------------------------------------------------------------------------------------

TEST_P(FarBound, CornersExactlyOnTheEdgesAreAcceptedThoughTheFillRuleLeavesOneOut) {
  TriangleRecord tri = Corners(0.5f, 0.5f, 14.5f, 0.5f, 0.5f, 14.5f);
  tri.depthTest = 1;
  tri.depthFunc = 2;
  tri.depthWrite = 1;
  tri.zMin = 0.25f;
  tri.zMax = 0.25f;
  for (float& z : tri.z) z = 0.25f;
  for (const TriangleRecord& wound : {tri, Reversed(tri)}) {
    picture.Fill(TilePicture::kBackground);
    picture.FillDepth(1.0f);
    picture.cell = 1.0f;
    picture.Add(wound);
    picture.Draw(GetParam());
    EXPECT_EQ(picture.cell, 0.25f);
    EXPECT_EQ(Painted(picture), 63);
    EXPECT_EQ(picture.Pixel(7, 7), TilePicture::kBackground);
  }
}

TEST_P(FarBound, AHairInsideTheTileIsNotAccepted) {
  for (const float origin : {0.5f, 0.500001f}) {
    TriangleRecord tri = Corners(origin, 0.5f, 40.5f, 0.5f, origin, 40.5f);
    tri.depthTest = 1;
    tri.depthFunc = 2;
    tri.depthWrite = 1;
    tri.zMax = 0.25f;
    picture.cell = 1.0f;
    picture.Add(tri);
    picture.Draw(GetParam());
    EXPECT_EQ(picture.cell, origin == 0.5f ? 0.25f : 1.0f);
  }
}

TEST_P(FarBound, WithoutDepthWriteATriangleHidesNothingButCanBeHidden) {
  TriangleRecord glass = Cover(0.25f, kRed);
  glass.depthWrite = 0;
  picture.Add(glass);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.cell, 1.0f);

  // The stored depths would let it pass: only the bound can hide it.
  glass = Cover(0.5f, kBlue);
  glass.depthWrite = 0;
  picture.Fill(0);
  picture.FillDepth(1.0f);
  picture.Add(Cover(0.25f, kRed));
  picture.cell = 0.25f;  // so that the first is no candidate and only draws
  picture.Add(glass);
  picture.Draw(GetParam(), 8, 8);
  EXPECT_EQ(picture.Pixel(0, 0), kRed);
  picture.Fill(0);
  picture.FillDepth(1.0f);
  picture.Add(glass);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.Pixel(0, 0), 0u);
  EXPECT_EQ(picture.cell, 0.25f);
}

TEST_P(FarBound, AnOccluderHidesWhatStandsBeforeItInTheList) {
  // The near triangle comes last and covers the tile; the far one, which would pass, is never drawn.
  TriangleRecord farther = Cover(0.5f, kBlue);
  TriangleRecord nearer = Cover(0.25f, 0x7F00FF00u);
  for (const int mode : {0, 1}) {
    picture.mode = mode;
    picture.cell = 1.0f;
    picture.Fill(0);
    picture.FillDepth(0.125f);
    picture.Depth(4, 4) = 0.75f;
    picture.Add(farther);
    picture.Add(nearer);
    picture.Draw(GetParam());
    EXPECT_EQ(picture.cell, 0.25f);
    EXPECT_EQ(picture.Pixel(4, 4), 0x7F00FF00u);
    EXPECT_EQ(picture.Depth(4, 4), 0.25f);
    EXPECT_EQ(picture.Pixel(0, 0), 0u);
  }
}

TEST_P(FarBound, ALessTriangleIsNeitherSkippedNorAnOccluder) {
  TriangleRecord tri = Cover(0.5f, kRed);
  tri.depthFunc = 1;
  picture.cell = 0.25f;
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.Pixel(3, 3), kRed);
  EXPECT_EQ(picture.cell, 0.25f);

  picture.cell = 1.0f;
  picture.FillDepth(1.0f);
  picture.Add(Cover(0.25f, kBlue));
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.cell, 0.25f);
  EXPECT_EQ(picture.Pixel(3, 3), kBlue) << "rejected pixel by pixel";

  picture.cell = 1.0f;
  tri.zMax = 0.125f;
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.cell, 1.0f);
}

TEST_P(FarBound, ABlendedTriangleIsNotSkippedButFailsItsDepthTest) {
  for (const std::uint32_t blend : {1u, 2u, 3u, 4u}) {
    TriangleRecord tri = Cover(0.5f, 0xFFFFFFFFu);
    tri.blendMode = blend;
    picture.cell = 0.25f;
    picture.Fill(0xFFFFFFFFu);
    picture.FillDepth(1.0f);
    picture.Add(tri);
    picture.Draw(GetParam());
    EXPECT_EQ(picture.Depth(3, 3), 0.5f) << "not skipped";
    EXPECT_EQ(picture.cell, 0.25f) << "and no occluder";

    picture.cell = 1.0f;
    picture.FillDepth(1.0f);
    picture.Add(Cover(0.25f, kBlue));
    picture.Add(tri);
    picture.Draw(GetParam());
    EXPECT_EQ(picture.Pixel(3, 3), kBlue);
    EXPECT_EQ(picture.Depth(3, 3), 0.25f);
  }
}

TEST_P(FarBound, AnAlphaTestedTriangleIsNeitherSkippedNorAnOccluder) {
  TriangleRecord tri = Cover(0.5f, kRed);
  tri.alphaTest = 1;
  picture.cell = 0.25f;
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.Pixel(3, 3), kRed);
  EXPECT_EQ(picture.cell, 0.25f);
  picture.cell = 1.0f;
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.cell, 1.0f);
}

TEST_P(FarBound, TheNearestOfTwoOccludersStandsInBothOrders) {
  for (const bool nearFirst : {false, true}) {
    picture.cell = 1.0f;
    picture.Add(Cover(nearFirst ? 0.4f : 0.5f, kRed));
    picture.Add(Cover(nearFirst ? 0.5f : 0.4f, kBlue));
    picture.Draw(GetParam());
    EXPECT_EQ(picture.cell, 0.4f);
  }
}

TEST_P(FarBound, ATriangleExactlyAtTheBoundIsNotSkipped) {
  picture.cell = 0.5f;
  picture.Add(Cover(0.5f, kRed));
  picture.Draw(GetParam());
  EXPECT_EQ(picture.Pixel(7, 7), kRed);
  EXPECT_EQ(picture.cell, 0.5f);
}

TEST_P(FarBound, WhatDrawsBehindItDoesNotRaiseIt) {
  // Kept on purpose: depth that grew again does not bring back what the bound skips.
  for (const std::uint32_t func : {0u, 5u}) {
    picture.cell = 0.25f;
    picture.FillDepth(0.25f);
    TriangleRecord farther = Cover(0.75f, kRed);
    farther.depthFunc = func;
    picture.Add(farther);
    picture.Add(Cover(0.5f, kBlue));
    picture.Draw(GetParam());
    EXPECT_EQ(picture.cell, 0.25f);
    EXPECT_EQ(picture.Depth(3, 3), 0.75f);
    EXPECT_EQ(picture.Pixel(3, 3), kRed) << "nearer than the stored depth, but behind the bound";
  }
}

TEST_P(FarBound, ATriangleThatNeverPassesIsIgnored) {
  TriangleRecord tri = Cover(0.25f, kRed);
  tri.depthFunc = 7;
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.cell, 1.0f);
  EXPECT_EQ(Painted(picture), 0);
  picture.cell = 0.125f;
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.cell, 0.125f);
  EXPECT_EQ(Painted(picture), 0);
}

TEST_P(FarBound, APartialTileIsTestedOnItsRealExtent) {
  TriangleRecord tri = Corners(0.5f, 0.5f, 4.5f, 0.5f, 0.5f, 4.5f);  // covers 3 by 3 pixels, not the tile
  tri.depthTest = 1;
  tri.depthFunc = 2;
  tri.depthWrite = 1;
  tri.zMax = 0.25f;
  picture.Add(tri);
  picture.Draw(GetParam(), 3, 3);
  EXPECT_EQ(picture.cell, 0.25f);
  picture.cell = 1.0f;
  picture.Add(tri);
  picture.Draw(GetParam(), 4, 3);
  EXPECT_EQ(picture.cell, 1.0f);
}

TEST_P(FarBound, HugeExtremesSwitchItOff) {
  TriangleRecord tri = Cover(0.5f, kRed);
  tri.zMin = -1e30f;
  tri.zMax = 1e30f;
  picture.cell = 0.25f;
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.cell, 0.25f);
  EXPECT_EQ(picture.Pixel(0, 7), kRed);
}

TEST_P(FarBound, ThreeEqualVerticesCountAsCoveringTheTile) {
  // Kept on purpose: an area of 0 takes the branch for negative areas, where edge values of 0 are inside.
  TriangleRecord tri = Corners(2.0f, 2.0f, 2.0f, 2.0f, 2.0f, 2.0f);
  tri.depthTest = 1;
  tri.depthFunc = 2;
  tri.depthWrite = 1;
  tri.zMax = 0.25f;
  picture.Add(tri);
  picture.Draw(GetParam());
  EXPECT_EQ(picture.cell, 0.25f);
  EXPECT_EQ(Painted(picture), 0);
}

}  // namespace
}  // namespace tlr2::judge
