// The control table of the panel: which control writes which word, with which caption, at which place.
#pragma once

#include <cstddef>
#include <cstdint>

#include "settings/settings.h"

namespace tlr2 {

enum class ControlKind : std::uint8_t {
  kText,       // a static caption
  kRightText,  // the same, aligned to the right
  kRadio,      // writes `value` into its word
  kCheckBox,   // 0 or 1
  kList,       // a drop-down list; the selection is the value
  kNumber,     // a field of decimal digits
  kSlider,     // a label and a trackbar over the setting's range
};

/// Places are in pixels at 96 dots per inch, from the window's client corner.
struct ControlRow {
  std::uint16_t id;  // 0: nothing refers to it
  ControlKind kind;
  bool startsGroup;
  const char* caption;
  std::int16_t x, y, width, height;  // a list's height is that of its opened list
  SettingWord DriverSettings::* word;
  std::int32_t value;
  const char* const* items;  // of a list, ended by null
};

inline constexpr int kControlCount = 32;
/// In the order of creation, which is the order of the Tab key.
extern const ControlRow kControls[kControlCount];

/// A slider row's label has the id behind its trackbar's.
constexpr std::uint16_t SliderLabelId(const ControlRow& row) noexcept { return static_cast<std::uint16_t>(row.id + 1); }
struct ControlPlace {
  int x, y, width, height;
};
constexpr ControlPlace SliderLabelPlace(const ControlRow& row) noexcept { return {row.x, row.y, 120, 18}; }
constexpr ControlPlace SliderTrackPlace(const ControlRow& row) noexcept { return {row.x + 118, row.y - 4, 184, 28}; }

/// The row of the control with this id, null for none; a slider's label has no row of its own.
const ControlRow* FindControl(std::uint32_t id) noexcept;
/// The stored setting behind a control's word: its range, and its name in the store.
const SettingRow& SettingOfControl(const ControlRow& row) noexcept;

inline constexpr std::size_t kSliderLabelBytes = 48;
/// "Gamma 1.25", "Hue +30 deg".
void FormatSliderLabel(const ControlRow& row, std::int32_t value, char (&text)[kSliderLabelBytes]) noexcept;
/// The number at the head of what is typed into a field: 0 for none and for negative ones, the greatest word for more.
std::int32_t ParseNumberField(const char* text) noexcept;

}  // namespace tlr2
