// The shown picture against the formula of the colour adjustments, read back from the screen pixel by pixel.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "present/surface.h"
#include "settings/settings.h"
#include "test_window.h"

namespace tlr2 {
namespace {

constexpr int kWidth = 256, kHeight = 96;
constexpr int kTolerance = 2;  // steps of 255

struct Rgb {
  double r, g, b;
};

double Saturate(double value) { return std::min(1.0, std::max(0.0, value)); }

/// The adjustments in double precision, written from the rule.
Rgb Adjusted(Rgb src, double gammaX100, double hueDeg, double saturationX100, double brightnessX100,
             double videoRangeX100) {
  const double y = src.r * 0.299 + src.g * 0.587 + src.b * 0.114;
  const double i = src.r * 0.595716 - src.g * 0.274453 - src.b * 0.321263;
  const double q = src.r * 0.211456 - src.g * 0.522591 + src.b * 0.311135;
  const double angle = hueDeg * 3.14159265358979323846 / 180.0;
  const double i2 = i * std::cos(angle) - q * std::sin(angle);
  const double q2 = i * std::sin(angle) + q * std::cos(angle);
  double rgb[3] = {y + 0.9563 * i2 + 0.621 * q2, y - 0.2721 * i2 - 0.6474 * q2, y - 1.107 * i2 + 1.7046 * q2};
  const double luma = rgb[0] * 0.2126 + rgb[1] * 0.7152 + rgb[2] * 0.0722;
  for (double& c : rgb) {
    c = luma + saturationX100 / 100.0 * (c - luma);
    c = Saturate(c * (brightnessX100 / 100.0));
    c = std::pow(c, std::max(gammaX100 / 100.0, 0.01));
    const double video = c * 219.0 / 255.0 + 16.0 / 255.0;
    c = Saturate(c + videoRangeX100 / 100.0 * (video - c));
  }
  return {rgb[0], rgb[1], rgb[2]};
}

/// Ramps of grey and of the six pure hues, then a field of mixed colours.
std::uint32_t PatternColor(int x, int y) {
  const std::uint32_t v = static_cast<std::uint32_t>(x);
  const int band = y / 8;
  if (band < 7) {
    const std::uint32_t mask = static_cast<std::uint32_t>(band == 0 ? 7 : band);
    return 0xFF000000u | ((mask & 1) ? v << 16 : 0) | ((mask & 2) ? v << 8 : 0) | ((mask & 4) ? v : 0);
  }
  return 0xFF000000u | ((v * 73u + static_cast<std::uint32_t>(y) * 151u) * 2654435761u >> 8);
}

int Step(std::uint32_t pixel, int shift) { return static_cast<int>(pixel >> shift & 0xFF); }

class PostProcess : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(SurfaceCreate(surface, kWidth, kHeight, window.handle()));
    Set(100, 0, 100, 100, 0);
  }
  void TearDown() override {
    Set(100, 0, 100, 100, 0);
    SurfaceDestroy(surface);
  }
  static void Set(std::int32_t gamma, std::int32_t hue, std::int32_t saturation, std::int32_t brightness,
                  std::int32_t videoRange) {
    DriverSettings& settings = Settings();
    settings.gammaX100 = gamma;
    settings.hueDeg = hue;
    settings.saturationX100 = saturation;
    settings.brightnessX100 = brightness;
    settings.videoRangeX100 = videoRange;
  }

  /// Draws the pattern and shows it.
  void Show() {
    for (int y = 0; y < kHeight; ++y) {
      auto* row = reinterpret_cast<std::uint32_t*>(reinterpret_cast<std::uint8_t*>(surface.colorBuffer) +
                                                   static_cast<std::size_t>(y) * surface.rowPitch);
      for (int x = 0; x < kWidth; ++x) row[x] = PatternColor(x, y);
    }
    SurfacePresent(surface, window.deviceContext());
    ASSERT_NE(surface.colorBuffer, nullptr);
  }

  struct Difference {
    int steps = 0, x = 0, y = 0;
  };
  /// The largest difference between the screen and `wanted`, which gives steps of 255 for a pattern colour.
  template <typename Wanted>
  static Difference Compare(const std::vector<std::uint32_t>& screen, Wanted&& wanted) {
    Difference worst;
    for (int y = 0; y < kHeight; ++y)
      for (int x = 0; x < kWidth; ++x) {
        const Rgb want = wanted(PatternColor(x, y));
        const double steps[3] = {want.b, want.g, want.r};
        for (int c = 0; c < 3; ++c) {
          const int off = std::abs(Step(screen[static_cast<std::size_t>(y * kWidth + x)], 8 * c) -
                                   static_cast<int>(std::lround(steps[c])));
          if (off > worst.steps) worst = {off, x, y};
        }
      }
    return worst;
  }
  /// Shows the pattern frame after frame, for a second or so, until the display server has brought the wanted picture:
  /// a window that has just appeared may still be painted over once.
  template <typename Wanted>
  Difference ShowAndCompare(Wanted&& wanted) {
    Difference worst;
    for (int frame = 0; frame < 40; ++frame) {
      Show();
      TestWindow::Pump();
      worst = Compare(window.Screen(), wanted);
      if (worst.steps <= kTolerance) break;
      Sleep(30);
    }
    return worst;
  }

  void ExpectFormula(double gamma, double hue, double saturation, double brightness, double videoRange) {
    const Difference worst = ShowAndCompare([&](std::uint32_t in) {
      const Rgb out = Adjusted({Step(in, 16) / 255.0, Step(in, 8) / 255.0, Step(in, 0) / 255.0}, gamma, hue, saturation,
                               brightness, videoRange);
      return Rgb{out.r * 255, out.g * 255, out.b * 255};
    });
    EXPECT_LE(worst.steps, kTolerance) << "at " << worst.x << ", " << worst.y << " with gamma " << gamma << " hue "
                                       << hue << " saturation " << saturation << " brightness " << brightness
                                       << " video range " << videoRange;
  }

  using TestWindow = test::TestWindow;
  TestWindow window{kWidth, kHeight};
  Surface surface;
};

TEST_F(PostProcess, NeutralSettingsShowTheColoursAsTheyAre) {
  const Difference worst = ShowAndCompare([](std::uint32_t in) {
    return Rgb{static_cast<double>(Step(in, 16)), static_cast<double>(Step(in, 8)), static_cast<double>(Step(in, 0))};
  });
  EXPECT_LE(worst.steps, kTolerance) << "at " << worst.x << ", " << worst.y;
  EXPECT_EQ(window.Screen()[0] & 0xFFFFFFu, 0u) << "black is the left end of the first ramp";
}

TEST_F(PostProcess, FullVideoRangeMapsBlackTo16AndWhiteTo235) {
  Set(100, 0, 100, 100, 100);
  ExpectFormula(100, 0, 100, 100, 100);
  const std::vector<std::uint32_t> screen = window.Screen();
  for (int shift = 0; shift < 24; shift += 8) {
    EXPECT_EQ(Step(screen[0], shift), 16);
    EXPECT_EQ(Step(screen[255], shift), 235);
  }
}

TEST_F(PostProcess, BrightnessZeroIsBlack) {
  ExpectFormula(100, 0, 100, 100, 0);  // so that the screen is not black from the start
  Set(100, 0, 100, 0, 0);
  const Difference worst = ShowAndCompare([](std::uint32_t) { return Rgb{0, 0, 0}; });
  EXPECT_LE(worst.steps, kTolerance);
  for (std::uint32_t pixel : window.Screen()) ASSERT_EQ(pixel & 0xFFFFFFu, 0u);
}

TEST_F(PostProcess, EachAdjustmentFollowsItsFormulaToBothEnds) {
  ExpectFormula(100, 0, 100, 100, 0);
  for (int gamma : {10, 50, 150, 300}) {
    Set(gamma, 0, 100, 100, 0);
    ExpectFormula(gamma, 0, 100, 100, 0);
  }
  for (int hue : {-180, -90, -30, 45, 90, 180}) {
    Set(100, hue, 100, 100, 0);
    ExpectFormula(100, hue, 100, 100, 0);
  }
  for (int saturation : {0, 50, 200, 300}) {
    Set(100, 0, saturation, 100, 0);
    ExpectFormula(100, 0, saturation, 100, 0);
  }
  for (int brightness : {0, 50, 150, 300}) {
    Set(100, 0, 100, brightness, 0);
    ExpectFormula(100, 0, 100, brightness, 0);
  }
  for (int videoRange : {50, 100}) {
    Set(100, 0, 100, 100, videoRange);
    ExpectFormula(100, 0, 100, 100, videoRange);
  }
}

TEST_F(PostProcess, AdjustmentsActTogetherInTheirOrder) {
  Set(60, 30, 140, 80, 100);
  ExpectFormula(60, 30, 140, 80, 100);
  Set(150, -120, 60, 130, 40);
  ExpectFormula(150, -120, 60, 130, 40);
}

TEST_F(PostProcess, WordsBeyondTheBoundsAreClampedAndNegativeOnesAreTheMost) {
  Set(5, 400, 900, 100, 250);
  ExpectFormula(10, 180, 300, 100, 100);
  Set(-1, -400, -1, 100, -1);
  ExpectFormula(300, -180, 300, 100, 100);
}

}  // namespace
}  // namespace tlr2
