// The control table of the panel beside the settings table, and the texts and numbers of its controls.
#include "panel/controls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>

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

TEST(Panel, ListsNameTheirValuesInOrder) {
  EXPECT_STREQ(Row(181).items[0], "Stop before command stream");
  EXPECT_STREQ(Row(181).items[3], "Stop after RenderFrame prep");
  EXPECT_STREQ(Row(181).items[5], "Full pipeline");
  EXPECT_STREQ(Row(150).items[1], "Force GL_ALWAYS");
  EXPECT_STREQ(Row(150).items[8], "Force GL_NEVER");
  EXPECT_STREQ(Row(190).items[0], "Auto");
  EXPECT_STREQ(Row(190).items[4], "Force AVX-512 SKX");
}

TEST(Panel, ASliderRowIsALabelAndATrackbarBesideIt) {
  const ControlRow& hue = Row(212);
  EXPECT_EQ(SliderLabelId(hue), 213);
  const ControlPlace label = SliderLabelPlace(hue), track = SliderTrackPlace(hue);
  EXPECT_EQ(label.x, 24);
  EXPECT_EQ(label.y, 770);
  EXPECT_EQ(label.width, 120);
  EXPECT_EQ(label.height, 18);
  EXPECT_EQ(track.x, 142);
  EXPECT_EQ(track.y, 766);
  EXPECT_EQ(track.width, 184);
  EXPECT_EQ(track.height, 28);
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
