// The constants of the post-process from the settings, with the bounds that hold at the place of use.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>

#include "present/postprocess.h"

namespace tlr2 {
namespace {

constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();

TEST(PostProcessConstants, BuiltInSettingsAreNeutral) {
  const DriverSettings settings;
  const PostProcessConstants constants = MakePostProcessConstants(settings);
  EXPECT_EQ(constants.gamma, 1.0f);
  EXPECT_EQ(constants.hueRadians, 0.0f);
  EXPECT_EQ(constants.saturation, 1.0f);
  EXPECT_EQ(constants.brightness, 1.0f);
  EXPECT_EQ(constants.videoRange, 0.0f);
}

TEST(PostProcessConstants, TheBufferIsEightFloatsWithAZeroTail) {
  DriverSettings settings;
  settings.gammaX100 = 120;
  settings.hueDeg = 30;
  settings.saturationX100 = 80;
  settings.brightnessX100 = 70;
  settings.videoRangeX100 = 60;
  const PostProcessConstants constants = MakePostProcessConstants(settings);
  float words[8];
  static_assert(sizeof words == sizeof constants);
  std::memcpy(words, &constants, sizeof words);
  const float expected[8] = {120 * 0.01f, 30 * 0.017453292f, 80 * 0.01f, 70 * 0.01f, 60 * 0.01f, 0, 0, 0};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(words[i], expected[i]) << i;
}

TEST(PostProcessConstants, GammaIsHeldBetweenTenAndThreeHundred) {
  DriverSettings settings;
  const struct {
    std::int32_t word;
    float gamma;
  } cases[] = {{0, 10 * 0.01f},    {9, 10 * 0.01f},      {10, 10 * 0.01f},  {11, 11 * 0.01f},     {300, 300 * 0.01f},
               {301, 300 * 0.01f}, {kMost, 300 * 0.01f}, {-1, 300 * 0.01f}, {kLeast, 300 * 0.01f}};
  for (const auto& c : cases) {
    settings.gammaX100 = c.word;
    EXPECT_EQ(MakePostProcessConstants(settings).gamma, c.gamma) << c.word;
  }
}

TEST(PostProcessConstants, HueIsSignedAndHeldToHalfATurn) {
  DriverSettings settings;
  const struct {
    std::int32_t word, degrees;
  } cases[] = {{-180, -180}, {-181, -180}, {kLeast, -180}, {180, 180}, {181, 180}, {kMost, 180}, {-1, -1}, {45, 45}};
  for (const auto& c : cases) {
    settings.hueDeg = c.word;
    EXPECT_EQ(MakePostProcessConstants(settings).hueRadians, static_cast<float>(c.degrees) * 0.017453292f) << c.word;
  }
}

TEST(PostProcessConstants, TheUnsignedWordsHaveOnlyAnUpperBound) {
  DriverSettings settings;
  settings.saturationX100 = 0;
  settings.brightnessX100 = 0;
  settings.videoRangeX100 = 0;
  PostProcessConstants constants = MakePostProcessConstants(settings);
  EXPECT_EQ(constants.saturation, 0.0f);
  EXPECT_EQ(constants.brightness, 0.0f);
  EXPECT_EQ(constants.videoRange, 0.0f);
  for (std::int32_t word : {301, kMost, -1, kLeast}) {
    settings.saturationX100 = word;
    settings.brightnessX100 = word;
    settings.videoRangeX100 = word;
    constants = MakePostProcessConstants(settings);
    EXPECT_EQ(constants.saturation, 300 * 0.01f) << word;
    EXPECT_EQ(constants.brightness, 300 * 0.01f) << word;
    EXPECT_EQ(constants.videoRange, 100 * 0.01f) << word;
  }
}

}  // namespace
}  // namespace tlr2
