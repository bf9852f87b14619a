// The headless device's colour adjustments against the formula in double precision, and their way into the picture.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "platform/float_rules.h"
#include "present/headless/post_process.h"
#include "present/surface.h"
#include "settings/settings.h"
#include "tlr2/headless.h"

namespace tlr2 {
namespace {

struct Words {
  int gamma = 100, hue = 0, saturation = 100, brightness = 100, videoRange = 0;
};

void Set(const Words& words) {
  DriverSettings& settings = Settings();
  settings.gammaX100 = words.gamma;
  settings.hueDeg = words.hue;
  settings.saturationX100 = words.saturation;
  settings.brightnessX100 = words.brightness;
  settings.videoRangeX100 = words.videoRange;
}

class HeadlessPostProcess : public testing::Test {
 protected:
  void TearDown() override { Set({}); }
  static std::uint32_t Adjust(const Words& words, std::uint32_t pixel) {
    Set(words);
    std::uint32_t out = 0;
    PostProcessPixels(MakePostProcessConstants(Settings()), &pixel, &out, 1);
    return out;
  }
};

double Byte(std::uint32_t pixel, int shift) { return static_cast<double>(pixel >> shift & 0xFF) / 255; }

/// The formula of the adjustments, apart from the code.
void Wanted(const Words& words, std::uint32_t pixel, double (&rgb)[3]) {
  const double r = Byte(pixel, 16), g = Byte(pixel, 8), b = Byte(pixel, 0);
  const double y = r * 0.299 + g * 0.587 + b * 0.114;
  const double i = r * 0.595716 - g * 0.274453 - b * 0.321263;
  const double q = r * 0.211456 - g * 0.522591 + b * 0.311135;
  const double angle = words.hue * 3.14159265358979323846 / 180;
  const double turnedI = i * std::cos(angle) - q * std::sin(angle), turnedQ = i * std::sin(angle) + q * std::cos(angle);
  rgb[0] = y + 0.9563 * turnedI + 0.621 * turnedQ;
  rgb[1] = y - 0.2721 * turnedI - 0.6474 * turnedQ;
  rgb[2] = y - 1.107 * turnedI + 1.7046 * turnedQ;
  const double luma = rgb[0] * 0.2126 + rgb[1] * 0.7152 + rgb[2] * 0.0722;
  for (double& c : rgb) {
    c = luma + words.saturation / 100.0 * (c - luma);
    c = std::clamp(c * words.brightness / 100.0, 0.0, 1.0);
    c = std::pow(c, words.gamma / 100.0);
    c = std::clamp(c + words.videoRange / 100.0 * (c * 219 / 255 + 16.0 / 255 - c), 0.0, 1.0);
  }
}

TEST_F(HeadlessPostProcess, FollowsTheFormulaToItsLastStep) {
  const Words cases[] = {{50, 0, 100, 100, 0},     {220, 0, 100, 100, 0}, {100, 90, 100, 100, 0},
                         {100, -170, 100, 100, 0}, {100, 0, 0, 100, 0},   {100, 0, 250, 100, 0},
                         {100, 0, 100, 40, 0},     {100, 0, 100, 300, 0}, {100, 0, 100, 100, 60},
                         {70, 30, 140, 110, 50}};
  for (const Words& words : cases) {
    for (std::uint32_t n = 0; n < 2000; ++n) {
      const std::uint32_t pixel = n * 2654435761u;
      const std::uint32_t got = Adjust(words, pixel);
      double rgb[3];
      Wanted(words, pixel, rgb);
      EXPECT_EQ(got >> 24, pixel >> 24);
      for (int c = 0; c < 3; ++c) {
        // Single precision moves a value by far less than a step, and so across one rounding bound at most.
        EXPECT_NEAR(static_cast<double>(got >> (16 - 8 * c) & 0xFF), rgb[c] * 255, 0.51)
            << std::hex << pixel << " channel " << c << " gamma " << words.gamma << " hue " << words.hue;
      }
    }
  }
}

TEST_F(HeadlessPostProcess, NeutralSettingsCopy) {
  for (std::uint32_t n = 0; n < 1000; ++n) EXPECT_EQ(Adjust({}, n * 2654435761u), n * 2654435761u);
}

TEST(PostProcessPixels, ArithmeticAtNeutralSettingsChangesNoByteSoThatACopyMayStandForIt) {
  PostProcessConstants constants{};
  constants.gamma = constants.saturation = constants.brightness = 1.0f;
  constants.videoRange = 1e-30f;  // too little to show, enough not to be neutral
  std::vector<std::uint32_t> source, shown;
  for (std::uint32_t color = 0; color < 1u << 24; ++color) source.push_back(0x5A000000u | color);
  shown.resize(source.size());
  PostProcessPixels(constants, source.data(), shown.data(), source.size());
  EXPECT_EQ(shown, source);
}

TEST_F(HeadlessPostProcess, FullVideoRangeMapsBlackTo16AndWhiteTo235) {
  EXPECT_EQ(Adjust({100, 0, 100, 100, 100}, 0x80000000u), 0x80101010u);
  EXPECT_EQ(Adjust({100, 0, 100, 100, 100}, 0xFFFFFFFFu), 0xFFEBEBEBu);
}

TEST_F(HeadlessPostProcess, BrightnessZeroIsBlack) { EXPECT_EQ(Adjust({100, 0, 100, 0, 0}, 0x40FF8001u), 0x40000000u); }

TEST_F(HeadlessPostProcess, ThePictureIsAdjustedAndTheRenderedPixelsAreNot) {
  void* hdc = tlr2HeadlessCreateWindow(3, 2);
  Surface surface;
  ASSERT_TRUE(SurfaceCreate(surface, 3, 2, hdc));
  const std::uint32_t pitch = surface.rowPitch / 4;
  for (std::uint32_t y = 0; y < 2; ++y)
    for (std::uint32_t x = 0; x < 3; ++x) surface.colorBuffer[y * pitch + x] = 0xFF000000u + y * 0x100u + x;
  Set({100, 0, 100, 100, 100});
  SurfacePresent(surface, hdc);
  std::vector<std::uint32_t> picture(6);
  ASSERT_EQ(tlr2HeadlessCopyPicture(hdc, picture.data(), 6), 6u);
  EXPECT_EQ(picture[0], 0xFF101010u);
  for (const std::uint32_t pixel : picture) EXPECT_GE(pixel & 0xFF, 16u);
  SurfacePresent(surface, hdc);  // back to the first buffer
  EXPECT_EQ(surface.colorBuffer[0], 0xFF000000u);
  EXPECT_EQ(surface.colorBuffer[pitch + 2], 0xFF000102u);
  SurfaceDestroy(surface);
  tlr2HeadlessDestroyWindow(hdc);
}

/// A window that shows one pixel of half red, half green.
class AdjustedPicture : public HeadlessPostProcess {
 protected:
  void SetUp() override { ASSERT_TRUE(SurfaceCreate(surface, 1, 1, hdc)); }
  void TearDown() override {
    SurfaceDestroy(surface);
    tlr2HeadlessDestroyWindow(hdc);
    HeadlessPostProcess::TearDown();
  }
  void ShowWith(const Words& words) {
    Set(words);
    *surface.colorBuffer = kPixel;
    SurfacePresent(surface, hdc);
  }
  std::uint32_t Shown() {
    std::uint32_t pixel = 0;
    tlr2HeadlessCopyPicture(hdc, &pixel, 1);
    return pixel;
  }

  static constexpr std::uint32_t kPixel = 0x12808000u;
  void* hdc = tlr2HeadlessCreateWindow(1, 1);
  Surface surface;
};

TEST_F(AdjustedPicture, HasTheSettingsOfTheMomentWhenItWasShown) {
  const Words warm = {150, 40, 120, 90, 30};
  ShowWith(warm);
  Set({});
  const std::uint32_t shown = Shown();
  EXPECT_NE(shown, kPixel);
  EXPECT_EQ(shown, Adjust(warm, kPixel));
  Set({});
  EXPECT_EQ(Shown(), shown);
  SurfaceDestroy(surface);
  EXPECT_EQ(Shown(), shown);
  ASSERT_TRUE(SurfaceCreate(surface, 1, 1, hdc));
  ShowWith({});
  Set(warm);
  EXPECT_EQ(Shown(), kPixel);
}

TEST_F(AdjustedPicture, DoesNotDependOnTheFloatRulesOfTheThreadThatLooks) {
  constexpr unsigned kUpwards = FloatRules::kControlWord | 0x4000u;
  const Words cases[] = {
      {50, 0, 100, 100, 0}, {220, 30, 140, 110, 50}, {100, -170, 100, 100, 0}, {100, 0, 250, 40, 60}};
  std::uint32_t differing = 0;
  for (const Words& words : cases) {
    for (std::uint32_t n = 0; n < 10000; ++n) {
      Set(words);
      *surface.colorBuffer = n * 2654435761u;
      SurfacePresent(surface, hdc);
      const std::uint32_t shown = Shown();
      __builtin_ia32_ldmxcsr(kUpwards);
      const std::uint32_t upwards = Shown();
      const unsigned left = __builtin_ia32_stmxcsr();
      const std::uint32_t bare = Adjust(words, n * 2654435761u);
      __builtin_ia32_ldmxcsr(FloatRules::kControlWord);
      EXPECT_EQ(upwards, shown);
      EXPECT_EQ(left & ~0x3Fu, kUpwards);
      differing += bare != shown ? 1 : 0;
    }
  }
  EXPECT_GT(differing, 0u);  // these rules would be seen
}

}  // namespace
}  // namespace tlr2
