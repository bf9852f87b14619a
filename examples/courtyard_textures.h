// The courtyard's pictures, computed rather than loaded.
#pragma once

#include <cstdint>
#include <vector>

namespace courtyard {

/// RGBA bytes, rows from t = 0 up.
struct Image {
  int width, height;
  std::vector<std::uint8_t> rgba;
};

Image MakePaving();
Image MakeBrick();
Image MakePlaster();
Image MakeFoliage();
Image MakeFence();
Image MakeWater();
Image MakeGlow();
Image MakeFont();
/// Light on the ground of the court, [-16,16] by [-16,16], of the lamps and the columns' shade.
Image MakeGroundLight();
/// Light on a wall of the court: a row of lamps above eye height.
Image MakeWallLight();

inline constexpr int kFontColumns = 16;
inline constexpr int kFontFirst = 32;

}  // namespace courtyard
