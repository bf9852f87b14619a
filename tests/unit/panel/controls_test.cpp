// The control table of the panel beside the settings table, and the texts and numbers of its controls.
#include "panel/controls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace tlr2 {
namespace {

const ControlRow& Row(std::uint32_t id) {
  const ControlRow* row = FindControl(id);
  if (row == nullptr) ADD_FAILURE() << "no control " << id;
  return row != nullptr ? *row : kControls[0];
}

std::string Label(std::uint32_t id, std::int32_t value) {
  char text[kSliderLabelBytes];
  FormatSliderLabel(Row(id), value, text);
  return text;
}

using enum ControlKind;
using S = DriverSettings;

/// The window as it is to be, written down apart from the code's table.
struct Wanted {
  int id;
  ControlKind kind;
  bool startsGroup;
  const char* caption;
  int x, y, width, height;
  SettingWord S::* word;
  int value;
};
const Wanted kWanted[] = {
    {0, kText, false, "TLR2 Control Panel", 12, 8, 290, 18, nullptr, 0},
    {0, kText, false, "Force texture filter:", 12, 36, 290, 18, nullptr, 0},
    {100, kRadio, true, "Default", 24, 56, 240, 18, &S::forceFilter, 0},
    {101, kRadio, false, "Nearest", 24, 76, 240, 18, &S::forceFilter, 1},
    {102, kRadio, false, "Bilinear", 24, 96, 240, 18, &S::forceFilter, 2},
    {103, kRadio, false, "Trilinear", 24, 116, 240, 18, &S::forceFilter, 3},
    {0, kText, false, "Force texture wrap:", 12, 148, 290, 18, nullptr, 0},
    {110, kRadio, true, "Default", 24, 168, 240, 18, &S::forceWrap, 0},
    {111, kRadio, false, "Repeat", 24, 188, 240, 18, &S::forceWrap, 1},
    {112, kRadio, false, "Clamp to edge", 24, 208, 240, 18, &S::forceWrap, 2},
    {120, kCheckBox, true, "Disable alpha blend", 12, 240, 290, 18, &S::disableBlend, 1},
    {0, kText, false, "Rendering overrides:", 12, 272, 290, 18, nullptr, 0},
    {140, kCheckBox, false, "Disable face cull", 24, 292, 280, 18, &S::disableFaceCull, 1},
    {141, kCheckBox, false, "Disable HiZ", 24, 312, 280, 18, &S::disableHiZ, 1},
    {142, kCheckBox, false, "Disable alpha test", 24, 332, 280, 18, &S::disableAlphaTest, 1},
    {143, kCheckBox, false, "Disable depth test", 24, 352, 280, 18, &S::disableDepthTest, 1},
    {0, kText, false, "Pipeline cutoff:", 12, 382, 290, 18, nullptr, 0},
    {181, kList, false, "", 24, 402, 280, 200, &S::pipelineCutoff, 0},
    {0, kText, false, "Force depth function:", 12, 442, 290, 18, nullptr, 0},
    {150, kList, false, "", 24, 462, 280, 240, &S::forceDepthFunc, 0},
    {0, kRightText, false, "Raster ISA:", 12, 624, 72, 18, nullptr, 0},
    {190, kList, false, "", 88, 620, 216, 220, &S::forceIsa, 0},
    {0, kRightText, false, "Workers:", 12, 658, 72, 18, nullptr, 0},
    {200, kNumber, false, "", 88, 654, 56, 24, &S::workerLimit, 0},
    {0, kText, false, "0 = full pool", 152, 658, 152, 18, nullptr, 0},
    {201, kCheckBox, false, "FPS overlay", 24, 684, 280, 18, &S::showFpsOverlay, 1},
    {0, kText, false, "Color adjustments:", 12, 714, 290, 18, nullptr, 0},
    {210, kSlider, false, "Gamma", 24, 738, 0, 0, &S::gammaX100, 0},
    {212, kSlider, false, "Hue", 24, 770, 0, 0, &S::hueDeg, 0},
    {214, kSlider, false, "Saturation", 24, 802, 0, 0, &S::saturationX100, 0},
    {216, kSlider, false, "Brightness", 24, 834, 0, 0, &S::brightnessX100, 0},
    {218, kSlider, false, "Video range", 24, 866, 0, 0, &S::videoRangeX100, 0},
};

TEST(Panel, EveryControlIsWhatItIsToBe) {
  ASSERT_EQ(std::size(kWanted), std::size(kControls));
  for (std::size_t i = 0; i < std::size(kWanted); ++i) {
    const Wanted& wanted = kWanted[i];
    const ControlRow& row = kControls[i];
    SCOPED_TRACE("row " + std::to_string(i) + ", id " + std::to_string(wanted.id));
    EXPECT_EQ(row.id, wanted.id);
    EXPECT_EQ(row.kind, wanted.kind);
    EXPECT_EQ(row.startsGroup, wanted.startsGroup);
    EXPECT_STREQ(row.caption, wanted.caption);
    EXPECT_EQ(row.x, wanted.x);
    EXPECT_EQ(row.y, wanted.y);
    EXPECT_EQ(row.width, wanted.width);
    EXPECT_EQ(row.height, wanted.height);
    EXPECT_EQ(row.word, wanted.word);
    EXPECT_EQ(row.items != nullptr, wanted.kind == kList);
    if (wanted.kind == kRadio) {
      EXPECT_EQ(row.value, wanted.value);
    }
  }
}

TEST(Panel, EveryListHasItsItemsAndNoOther) {
  const std::map<int, std::vector<std::string>> lists = {
      {181,
       {"Stop before command stream", "Stop after native packets", "Stop after triangle emit",
        "Stop after RenderFrame prep", "Stop after worker binning", "Full pipeline"}},
      {150,
       {"Default", "Force GL_ALWAYS", "Force GL_LESS", "Force GL_LEQUAL", "Force GL_EQUAL", "Force GL_GEQUAL",
        "Force GL_GREATER", "Force GL_NOTEQUAL", "Force GL_NEVER"}},
      {190, {"Auto", "Force SSE4.1", "Force AVX", "Force AVX2", "Force AVX-512 SKX"}},
  };
  for (const auto& [id, wanted] : lists) {
    std::vector<std::string> items;
    for (const char* const* item = Row(static_cast<std::uint32_t>(id)).items; item != nullptr && *item != nullptr;
         ++item)
      items.emplace_back(*item);
    EXPECT_EQ(items, wanted) << id;
  }
}

TEST(Panel, EverySliderHasItsPlacesItsRangeAndItsStoredName) {
  struct Slider {
    int id, y;
    const char* setting;
    int least, most;
  };
  constexpr Slider kSliders[] = {{210, 738, "GammaX100", 50, 150},
                                 {212, 770, "HueDeg", -180, 180},
                                 {214, 802, "SaturationX100", 0, 200},
                                 {216, 834, "BrightnessX100", 50, 150},
                                 {218, 866, "VideoRangeX100", 0, 100}};
  for (const Slider& wanted : kSliders) {
    const ControlRow& row = Row(static_cast<std::uint32_t>(wanted.id));
    EXPECT_EQ(SliderLabelId(row), wanted.id + 1);
    const ControlPlace label = SliderLabelPlace(row), track = SliderTrackPlace(row);
    EXPECT_EQ((std::array{label.x, label.y, label.width, label.height}), (std::array{24, wanted.y, 120, 18}));
    EXPECT_EQ((std::array{track.x, track.y, track.width, track.height}), (std::array{142, wanted.y - 4, 184, 28}));
    const SettingRow& setting = SettingOfControl(row);
    EXPECT_STREQ(setting.name, wanted.setting);
    EXPECT_EQ(setting.minimum, wanted.least) << wanted.setting;
    EXPECT_EQ(setting.maximum, wanted.most) << wanted.setting;
  }
}

TEST(Panel, EveryControlWritesAStoredSettingAndEveryOneButTheCaptureCountHasItsControl) {
  std::set<std::string> written;
  for (const ControlRow& row : kControls) {
    if (row.word == nullptr) continue;
    EXPECT_EQ(SettingOfControl(row).word, row.word) << row.id;
    written.insert(SettingOfControl(row).name);
  }
  for (const SettingRow& row : kSettingRows)
    EXPECT_EQ(written.count(row.name), std::string(row.name) == "CaptureFrameCount" ? 0u : 1u) << row.name;
}

TEST(Panel, IdsAreTheirOwnAndCaptionsHaveNone) {
  std::set<int> ids;
  for (const ControlRow& row : kControls) {
    EXPECT_EQ(row.id == 0, row.word == nullptr) << row.caption;
    if (row.id == 0) continue;
    EXPECT_TRUE(ids.insert(row.id).second) << row.id;
    if (row.kind == ControlKind::kSlider) {
      EXPECT_TRUE(ids.insert(SliderLabelId(row)).second) << row.id;
    }
  }
  EXPECT_EQ(ids.size(), 7u + 5u + 3u + 1u + 1u + 10u);
  EXPECT_EQ(FindControl(0), nullptr);
  EXPECT_EQ(FindControl(211), nullptr);
  EXPECT_EQ(FindControl(999), nullptr);
}

TEST(Panel, ChoicesCoverTheRangeOfTheirSettingAndNoMore) {
  std::map<std::string, std::int32_t> most;
  for (const ControlRow& row : kControls) {
    if (row.word == nullptr) continue;
    std::int32_t& value = most[SettingOfControl(row).name];
    switch (row.kind) {
      case ControlKind::kRadio:
        EXPECT_EQ(row.startsGroup, row.value == 0) << row.id;
        EXPECT_EQ(row.id % 10, row.value) << row.id;
        value = std::max(value, row.value);
        break;
      case ControlKind::kCheckBox:
        value = 1;
        break;
      case ControlKind::kList:
        for (value = -1; row.items[value + 1] != nullptr;) ++value;
        break;
      default:
        value = SettingOfControl(row).maximum;
    }
  }
  for (const SettingRow& row : kSettingRows)
    if (most.count(row.name) != 0) {
      EXPECT_EQ(most[row.name], row.maximum) << row.name;
    }
}

TEST(Panel, LabelsShowHundredthsAndTheHueInSignedDegrees) {
  EXPECT_EQ(Label(210, 125), "Gamma 1.25");
  EXPECT_EQ(Label(210, 50), "Gamma 0.50");
  EXPECT_EQ(Label(212, 30), "Hue +30 deg");
  EXPECT_EQ(Label(212, 0), "Hue +0 deg");
  EXPECT_EQ(Label(212, -180), "Hue -180 deg");
  EXPECT_EQ(Label(214, 200), "Saturation 2.00");
  EXPECT_EQ(Label(216, 7), "Brightness 0.07");
  EXPECT_EQ(Label(218, 100), "Video range 1.00");
}

TEST(Panel, AClearedFieldAndNegativeNumbersAreZero) {
  EXPECT_EQ(ParseNumberField(""), 0);
  EXPECT_EQ(ParseNumberField("0"), 0);
  EXPECT_EQ(ParseNumberField("-12"), 0);
  EXPECT_EQ(ParseNumberField("abc"), 0);
  EXPECT_EQ(ParseNumberField("12"), 12);
  EXPECT_EQ(ParseNumberField(" 12x3"), 12);
  EXPECT_EQ(ParseNumberField("5000"), 5000) << "above what a load accepts";
  EXPECT_EQ(ParseNumberField("2147483647"), 2147483647);
  EXPECT_EQ(ParseNumberField("999999999999999"), 2147483647);
}

}  // namespace
}  // namespace tlr2
