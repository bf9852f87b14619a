// The colour adjustments of the shown picture, from the settings to the constants that the post-process reads. The
// rendered picture itself never changes: read-backs do not see them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "settings/settings.h"

namespace tlr2 {

/// The constant buffer of the post-process, as the pixel shader lays it out.
struct PostProcessConstants {
  float gamma;  // the exponent itself, not its reciprocal
  float hueRadians;
  float saturation;
  float brightness;
  float videoRange;  // 0 full range, 1 limited range
  float _pad[3];
};
static_assert(sizeof(PostProcessConstants) == 32);
static_assert(offsetof(PostProcessConstants, hueRadians) == 4 && offsetof(PostProcessConstants, saturation) == 8);
static_assert(offsetof(PostProcessConstants, brightness) == 12 && offsetof(PostProcessConstants, videoRange) == 16);

/// The constants as the settings stand now. The bounds are wider than those of the store, since the words may have
/// been written by anyone; all but the hue count as unsigned, so that a negative word means the most.
inline PostProcessConstants MakePostProcessConstants(const DriverSettings& settings) noexcept {
  const auto unsignedWord = [](const SettingWord& word) { return static_cast<std::uint32_t>(std::int32_t{word}); };
  const auto scaled = [](std::uint32_t value) { return static_cast<float>(value) * 0.01f; };
  PostProcessConstants constants = {};
  constants.gamma = scaled(std::clamp(unsignedWord(settings.gammaX100), 10u, 300u));
  constants.hueRadians = static_cast<float>(std::clamp(std::int32_t{settings.hueDeg}, -180, 180)) * 0.017453292f;
  constants.saturation = scaled(std::min(unsignedWord(settings.saturationX100), 300u));
  constants.brightness = scaled(std::min(unsignedWord(settings.brightnessX100), 300u));
  constants.videoRange = scaled(std::min(unsignedWord(settings.videoRangeX100), 100u));
  return constants;
}

}  // namespace tlr2
