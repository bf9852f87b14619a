// How many planes of a triangle are shaded, and what the others take their colour from.
#include <limits>

#include "scalar_kernel.h"
#include "tile_picture.h"

namespace tlr2::judge {
namespace {

class Sharing : public WithKernel {
 protected:
  using Pattern = std::uint32_t (*)(std::uint32_t x, std::uint32_t y);

  /// An 8 by 8 texture of `pattern`, a texel a pixel, over the whole tile.
  TriangleRecord Textured(Pattern pattern) {
    std::vector<std::uint32_t> texels;
    for (std::uint32_t y = 0; y < 8; ++y) {
      for (std::uint32_t x = 0; x < 8; ++x) texels.push_back(pattern(x, y));
    }
    TriangleRecord tri = Ramp();
    SetTexture(tri, picture.AddTexture(8, 8, texels, true), 0, 0.0f, 0.125f, 0.0f);
    tri.t[2] = 2.0f;
    return tri;
  }

  void Draw(const TriangleRecord& tri, std::int32_t mode) {
    picture.mode = mode;
    picture.Add(tri);
    picture.Draw(GetParam());
  }

  /// Live pixels in one quarter of the tile alone, which is one half of any step over the lanes.
  void DrawQuarter(TriangleRecord tri, std::int32_t left, std::int32_t top) {
    tri.depthTest = 1;
    tri.depthFunc = 1;
    picture.FillDepth(-1.0f);
    for (std::int32_t y = 0; y < 4; ++y) {
      for (std::int32_t x = 0; x < 4; ++x) picture.Depth(left + x, top + y) = 1.0f;
    }
    Draw(tri, 1);
  }
};
TLR2_FOR_ALL_KERNELS(Sharing);

// Left and right quads of a pair: both halves of a tile and the whole tile have the same mean.
std::uint32_t Step(std::uint32_t x, std::uint32_t low, std::uint32_t high) { return (x >> 1 & 1) != 0 ? high : low; }

TEST_P(Sharing, AConstantColourIsTheSameInAllPixels) {
  for (const std::uint32_t color : {0xFF123456u, 0x00FFFFFFu, 0x7F0000FFu}) {
    TriangleRecord tri = Ramp();
    SetColor(tri, color, color, color);
    Draw(tri, 1);
    for (int y = 0; y < 8; ++y) {
      for (int x = 0; x < 8; ++x) EXPECT_EQ(picture.Pixel(x, y), color);
    }
  }
}

TEST_P(Sharing, AFlatFirstPlaneStandsForTheWholeQuad) {
  // The first pixels of all quads are alike: what the others would show is never looked at.
  Draw(Textured([](std::uint32_t x, std::uint32_t y) { return (x | y) & 1 ? x * 30 * kGrey : 77 * kGrey; }), 1);
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 8; ++x) EXPECT_EQ(picture.Pixel(x, y), 77 * kGrey) << x << ", " << y;
  }
}

TEST_P(Sharing, ASmallSpreadStopsAfterTheDiagonal) {
  // 10 of 255 between quads: 0.0196 from the mean, squared 0.00038, below 0.001444 and above 2.5e-7.
  Draw(Textured([](std::uint32_t x, std::uint32_t y) {
         const std::uint32_t plane = (x & 1) + 2 * (y & 1);
         return (plane == 0 ? Step(x, 95, 105) : plane == 3 ? Step(x, 98, 108) : 250) * kGrey;
       }),
       1);
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 8; ++x) {
      const auto column = static_cast<std::uint32_t>(x);
      const bool first = x % 2 == 0 && y % 2 == 0;
      const bool last = x % 2 == 1 && y % 2 == 1;
      const std::uint32_t expected = first  ? Step(column, 95, 105)
                                     : last ? Step(column, 98, 108)
                                            : Step(column, 96, 106);
      EXPECT_EQ(picture.Red(x, y), expected) << x << ", " << y;  // 96.5 and 106.5 between
    }
  }
}

TEST_P(Sharing, AnUnevenDiagonalWithAnEvenThirdPlaneStopsAfterThree) {
  Draw(Textured([](std::uint32_t x, std::uint32_t y) {
         const std::uint32_t plane = (x & 1) + 2 * (y & 1);
         return (plane == 0 ? Step(x, 60, 200) : plane == 3 ? Step(x, 50, 210) : plane == 2 ? 100 : 255) * kGrey;
       }),
       1);
  for (int y = 0; y < 8; y += 2) {
    for (int x = 0; x < 8; x += 2) {
      const bool high = (x >> 1 & 1) != 0;
      EXPECT_EQ(picture.Red(x, y), high ? 200u : 60u);
      EXPECT_EQ(picture.Red(x + 1, y), high ? 170u : 70u) << "a third of the three";
      EXPECT_EQ(picture.Red(x, y + 1), 100u);
      EXPECT_EQ(picture.Red(x + 1, y + 1), high ? 210u : 50u);
    }
  }
}

TEST_P(Sharing, AGreatSpreadShadesEveryPixelAsWithoutSharing) {
  const auto noise = [](std::uint32_t x, std::uint32_t y) { return ((x * 97 + y * 61) * 37 & 255) * kGrey; };
  const TriangleRecord tri = Textured(noise);
  Draw(tri, 1);
  for (std::uint32_t y = 0; y < 8; ++y) {
    for (std::uint32_t x = 0; x < 8; ++x) {
      EXPECT_EQ(picture.Pixel(static_cast<int>(x), static_cast<int>(y)), noise(x, y));
    }
  }
}

TEST_P(Sharing, TheThresholdsLieBetweenTheseSpreads) {
  // Distances from the mean of d/255, the second plane's, in the quads' first and last pixels: 0.038 is 9.69 of 255,
  // 0.072 is 18.36 of 255.
  struct Case {
    std::uint32_t distance;
    bool thirdShaded;
  };
  for (const Case c : {Case{9, false}, Case{10, true}}) {
    static std::uint32_t distance;
    distance = c.distance;
    Draw(Textured([](std::uint32_t x, std::uint32_t y) {
           const std::uint32_t plane = (x & 1) + 2 * (y & 1);
           return (plane == 0 || plane == 3 ? Step(x, 100 - distance, 100 + distance) : 200) * kGrey;
         }),
         1);
    EXPECT_EQ(picture.Red(0, 1) == 200u, c.thirdShaded) << c.distance;
  }
  for (const Case c : {Case{18, false}, Case{19, true}}) {
    static std::uint32_t distance;
    distance = c.distance;
    Draw(Textured([](std::uint32_t x, std::uint32_t y) {
           const std::uint32_t plane = (x & 1) + 2 * (y & 1);
           return (plane == 1 ? 255 : Step(x, 100 - distance, 100 + distance)) * kGrey;
         }),
         1);
    EXPECT_EQ(picture.Red(1, 0) == 255u, c.thirdShaded) << c.distance;
  }
}

TEST_P(Sharing, ASpreadExactlyAtAThresholdIsShaded) {
  // The luminances of these colours are twice 0.038 or 0.072 apart, to the last bit or one bit less, with products that
  // fuse as with products that are rounded.
  struct Case {
    int plane;  // whose spread it is
    std::uint32_t low, high;
    bool shaded;
  };
  for (const Case& c : {Case{3, 0x03072Du, 0x470585u, true}, Case{3, 0x0C0C08u, 0x800318u, false},
                        Case{2, 0x05030Bu, 0xB40022u, true}, Case{2, 0x0C1A5Au, 0x992B0Fu, false}}) {
    static Case current;
    current = c;
    Draw(Textured([](std::uint32_t x, std::uint32_t y) {
           const int plane = static_cast<int>((x & 1) + 2 * (y & 1));
           if (plane == current.plane) return Step(x, current.low, current.high);
           return (plane == 0 || plane == 3 ? Step(x, 0, 255) : 200) * kGrey;
         }),
         1);
    const std::uint32_t next = c.plane == 3 ? picture.Red(0, 1) : picture.Red(1, 0);
    EXPECT_EQ(next == 200u, c.shaded) << c.plane << " " << c.low;
  }
}

TEST_P(Sharing, TheSpreadIsOfLuminanceAlone) {
  // Blue counts 0.0722: 10 of 255 are 0.0028 from the mean 0.0014, so the diagonal is enough; green would need three.
  const auto draw = [&](int shift) {
    static int position;
    position = shift;
    Draw(Textured([](std::uint32_t x, std::uint32_t y) {
           const std::uint32_t plane = (x & 1) + 2 * (y & 1);
           return (plane == 0 || plane == 3 ? Step(x, 60, 100) : 0) << position;
         }),
         1);
    return picture.Pixel(0, 1) >> shift & 0xFFu;
  };
  EXPECT_EQ(draw(0), 60u) << "blue: shared";
  EXPECT_EQ(draw(8), 0u) << "green: shaded";
  EXPECT_EQ(draw(24), 60u) << "alpha does not count: even in luminance, so the first plane stands";
}

TEST_P(Sharing, AnyOtherModeShadesOnePixelAQuadButCoversEach) {
  for (const std::int32_t mode : {2, -1, 77}) {
    TriangleRecord tri = Textured([](std::uint32_t x, std::uint32_t y) { return (x * 16 + y) * kGrey; });
    tri.depthTest = 1;
    tri.depthFunc = 1;
    tri.depthWrite = 1;
    tri.z[1] = 0.5f;
    tri.zMax = 0.5f;
    picture.Fill(0xABCDEF01u);
    picture.FillDepth(1.0f);
    picture.Depth(3, 2) = -1.0f;  // fails there alone
    Draw(tri, mode);
    for (int y = 0; y < 8; ++y) {
      for (int x = 0; x < 8; ++x) {
        if (x == 3 && y == 2) {
          EXPECT_EQ(picture.Pixel(x, y), 0xABCDEF01u) << "its quad was shaded, but the pixel failed";
          EXPECT_EQ(picture.Depth(x, y), -1.0f);
          continue;
        }
        EXPECT_EQ(picture.Red(x, y), static_cast<std::uint32_t>((x & 6) * 16 + (y & 6)));
        EXPECT_EQ(picture.Depth(x, y), (static_cast<float>(x) + 0.5f) / 32.0f);
      }
    }
  }
}

TEST_P(Sharing, ASharedAlphaPassesOrFailsTheQuadAsAWhole) {
  TriangleRecord tri = Textured([](std::uint32_t x, std::uint32_t y) {
    const bool first = (x & 1) == 0 && (y & 1) == 0;
    return 0x00404040u | (first ? Step(x, 169, 170) : Step(x, 255, 0)) << 24;
  });
  tri.alphaTest = 1;
  Draw(tri, 1);
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 8; ++x) {
      EXPECT_EQ(picture.Pixel(x, y), (x & 2) != 0 ? 0xAA404040u : TilePicture::kBackground) << x << ", " << y;
    }
  }
}

TEST_P(Sharing, DeadLanesTakePartInTheSpread) {
  // One quad is covered, even in itself; the tile around it, where nothing is drawn, is not.
  const auto pattern = [](std::uint32_t x, std::uint32_t y) {
    return (x < 2 && y < 2 ? (y * 2 + x) * 20 + 40 : Step(x, 0, 255)) * kGrey;
  };
  TriangleRecord tri = Textured(pattern);
  TriangleRecord small = Ramp(4.0f);
  for (int i = 0; i < 3; ++i) {
    tri.x[i] = small.x[i];
    tri.y[i] = small.y[i];
  }
  tri.s[1] = 0.5f;
  tri.t[2] = 0.5f;
  Draw(tri, 1);
  for (std::uint32_t y = 0; y < 2; ++y) {
    for (std::uint32_t x = 0; x < 2; ++x) {
      EXPECT_EQ(picture.Pixel(static_cast<int>(x), static_cast<int>(y)), pattern(x, y));
    }
  }
}

TEST_P(Sharing, OnEightLanesTheHalvesDecideOnTheirOwn) {
  // Upper half even, lower half uneven. Sixteen lanes see the spread in both.
  const auto pattern = [](std::uint32_t x, std::uint32_t y) {
    if (y < 4) return ((x | y) & 1 ? 200 : 100) * kGrey;
    return ((x * 97 + y * 61) * 37 & 255) * kGrey;
  };
  Draw(Textured(pattern), 1);
  const bool split = GetParam().lanes == 8;
  EXPECT_EQ(picture.Red(1, 0), split ? 100u : 200u);
  EXPECT_EQ(picture.Red(6, 3), split ? 100u : 200u);
  for (std::uint32_t x = 0; x < 8; ++x) EXPECT_EQ(picture.Pixel(static_cast<int>(x), 5), pattern(x, 5));
}

// -- Half a step's lanes --------------------------------------------------------------------------------------------

constexpr std::int32_t kQuarters[4][2] = {{0, 0}, {4, 0}, {0, 4}, {4, 4}};

// A half that alone spreads beyond twice a threshold's root settles the comparison; these lie 1 to 2 per cent below,
// where the whole step decides, and it shares.
TEST_P(Sharing, ASpreadJustBelowAThresholdIsSharedInAQuarterToo) {
  struct Case {
    int plane;                // after which it stops
    std::uint32_t low, high;  // its luminances: 0.2528, 19 and 36 of 255 apart; the roots are 0.1275, 9.69 and 18.36
    std::uint32_t expectedLow, expectedHigh;  // of the plane that is shaded last, in red
  };
  for (const Case& c : {Case{0, 0x64647Bu, 0x6D6464u, 100, 109}, Case{3, 100 * kGrey, 119 * kGrey, 80, 159},
                        Case{2, 100 * kGrey, 136 * kGrey, 70, 182}}) {
    static Case current;
    current = c;
    const TriangleRecord tri = Textured([](std::uint32_t x, std::uint32_t y) {
      const int plane = static_cast<int>((x & 1) + 2 * (y & 1));
      if (plane == current.plane) return Step(x, current.low, current.high);
      if (plane == 0) return Step(x, 60, 200) * kGrey;
      return (plane == 3 ? Step(x, 50, 210) : 250) * kGrey;
    });
    for (const auto& [left, top] : kQuarters) {
      DrawQuarter(tri, left, top);
      EXPECT_EQ(picture.Red(left + 1, top), c.expectedLow) << c.plane << " at " << left << ", " << top;
      EXPECT_EQ(picture.Red(left + 3, top + 2), c.expectedHigh) << c.plane << " at " << left << ", " << top;
    }
  }
}

TEST_P(Sharing, AnEvenHalfLeavesTheDecisionToTheOther) {
  static bool columns;  // which way the step is halved
  static std::int32_t live[2];
  columns = GetParam().lanes == 8;
  for (const auto& [left, top] : kQuarters) {
    live[0] = left;
    live[1] = top;
    const auto pattern = [](std::uint32_t x, std::uint32_t y) {
      const bool own =
          columns ? x / 4 == static_cast<std::uint32_t>(live[0]) / 4 : y / 4 == static_cast<std::uint32_t>(live[1]) / 4;
      return (own ? 40 + 50 * (x & 1) + 100 * (y & 1) : Step(x, 0, 255)) * kGrey;
    };
    DrawQuarter(Textured(pattern), left, top);
    for (std::int32_t y = top; y < top + 4; ++y) {
      for (std::int32_t x = left; x < left + 4; ++x) {
        EXPECT_EQ(picture.Pixel(x, y), pattern(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)));
      }
    }
  }
}

// Pixels of each half's live planes, in all combinations, beside the picture of all pixels.
TEST_P(Sharing, APixelsColourDoesNotDependOnWhichOthersLive) {
  const Pattern patterns[] = {
      [](std::uint32_t x, std::uint32_t y) { return ((x * 97 + y * 61) * 37 & 255) * kGrey; },        // all four planes
      [](std::uint32_t x, std::uint32_t y) { return ((x | y) & 1 ? x * 30 : 77) * kGrey; },           // the first alone
      [](std::uint32_t x, std::uint32_t y) { return ((x & y & 1) != 0 ? 90 : x * 25 + y) * kGrey; },  // two
      [](std::uint32_t x, std::uint32_t y) { return ((y & 1) != 0 && (x & 1) == 0 ? 60 : x * 31) * kGrey; }};  // three
  const bool columns = GetParam().lanes == 8;
  for (const Pattern pattern : patterns) {
    TriangleRecord tri = Textured(pattern);
    Draw(tri, 1);
    std::uint32_t all[8][8];
    for (int y = 0; y < 8; ++y) {
      for (int x = 0; x < 8; ++x) all[y][x] = picture.Pixel(x, y);
    }
    tri.depthTest = 1;
    tri.depthFunc = 1;
    for (unsigned planes = 0; planes < 256; ++planes) {
      const auto lives = [&](int x, int y) {
        const int half = (columns ? x : y) / 4;
        return (planes >> (half * 4 + (x & 1) + 2 * (y & 1)) & 1u) != 0;
      };
      picture.Fill(TilePicture::kBackground);
      for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) picture.Depth(x, y) = lives(x, y) ? 1.0f : -1.0f;
      }
      Draw(tri, 1);
      for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) {
          const std::uint32_t expected = lives(x, y) ? all[y][x] : TilePicture::kBackground;
          ASSERT_EQ(picture.Pixel(x, y), expected) << x << ", " << y << " of planes " << planes;
        }
      }
    }
  }
}

// -- How often the scalar form shades -------------------------------------------------------------------------------

TEST(ScalarSharing, StopsAreCountedAsTheRulesSay) {
  std::uint32_t pixels[64];
  float depths[64];
  TriangleRecord tri = Ramp();
  KernelFrameArgs args{};
  args.colorStrideBytes = 32;
  args.colorPixels = pixels;
  args.depthPixels = depths;
  args.depthStrideBytes = 32;
  args.triangles = &tri;
  args.textureCacheCount = 0;
  const std::uint32_t entry = 0;
  float cell = 1.0f;
  const auto planes = [&](std::int32_t mode, int lanes) {
    ScalarTrace trace;
    args.kernelMode = mode;
    ScalarTileKernel(&args, 0, 0, 8, 8, &entry, 1, &cell, lanes, false, &trace);
    EXPECT_EQ(trace.pixelsStored, 64u);
    return trace.planesShaded;
  };
  using Counts = std::array<std::uint64_t, 5>;
  EXPECT_EQ(planes(1, 16), (Counts{0, 1, 0, 0, 0})) << "constant";
  EXPECT_EQ(planes(1, 8), (Counts{0, 2, 0, 0, 0})) << "both halves";
  EXPECT_EQ(planes(0, 16), (Counts{0, 0, 0, 0, 0})) << "the plane-major form has no sequence";
  SetColor(tri, 0xFF000000u, 0xFFFFFFFFu, 0xFF000000u);
  EXPECT_EQ(planes(1, 16), (Counts{0, 0, 0, 0, 1}));
  EXPECT_EQ(planes(2, 16), (Counts{0, 1, 0, 0, 0}));
  tri.invW[1] = std::numeric_limits<float>::quiet_NaN();  // a spread that is no number stops nothing
  SetColor(tri, 0xFF000000u, 0xFF000001u, 0xFF000000u);
  EXPECT_EQ(planes(1, 16), (Counts{0, 0, 0, 0, 1}));
}

}  // namespace
}  // namespace tlr2::judge
