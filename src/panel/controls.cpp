// The control table, and the texts and numbers of the controls.
#include "panel/controls.h"

#include <cstdio>
#include <cstring>

namespace tlr2 {

namespace {

using enum ControlKind;
using S = DriverSettings;

constexpr const char* kCutoffItems[] = {"Stop before command stream",
                                        "Stop after native packets",
                                        "Stop after triangle emit",
                                        "Stop after RenderFrame prep",
                                        "Stop after worker binning",
                                        "Full pipeline",
                                        nullptr};
constexpr const char* kDepthItems[] = {
    "Default",         "Force GL_ALWAYS",  "Force GL_LESS",     "Force GL_LEQUAL", "Force GL_EQUAL",
    "Force GL_GEQUAL", "Force GL_GREATER", "Force GL_NOTEQUAL", "Force GL_NEVER",  nullptr};
constexpr const char* kIsaItems[] = {"Auto", "Force SSE4.1", "Force AVX", "Force AVX2", "Force AVX-512 SKX", nullptr};

constexpr ControlRow Text(const char* caption, int x, int y, int width, ControlKind kind = kText) {
  return {0,
          kind,
          false,
          caption,
          static_cast<std::int16_t>(x),
          static_cast<std::int16_t>(y),
          static_cast<std::int16_t>(width),
          18,
          nullptr,
          0,
          nullptr};
}
constexpr ControlRow Radio(int id, const char* caption, int y, SettingWord S::* word, int value) {
  return {static_cast<std::uint16_t>(id),
          kRadio,
          value == 0,
          caption,
          24,
          static_cast<std::int16_t>(y),
          240,
          18,
          word,
          value,
          nullptr};
}
constexpr ControlRow Check(int id, const char* caption, int x, int y, int width, SettingWord S::* word,
                           bool startsGroup = false) {
  return {static_cast<std::uint16_t>(id),
          kCheckBox,
          startsGroup,
          caption,
          static_cast<std::int16_t>(x),
          static_cast<std::int16_t>(y),
          static_cast<std::int16_t>(width),
          18,
          word,
          1,
          nullptr};
}
constexpr ControlRow List(int id, int x, int y, int width, int height, SettingWord S::* word,
                          const char* const* items) {
  return {static_cast<std::uint16_t>(id),
          kList,
          false,
          "",
          static_cast<std::int16_t>(x),
          static_cast<std::int16_t>(y),
          static_cast<std::int16_t>(width),
          static_cast<std::int16_t>(height),
          word,
          0,
          items};
}
constexpr ControlRow Slider(int id, const char* caption, int y, SettingWord S::* word) {
  return {static_cast<std::uint16_t>(id),
          kSlider,
          false,
          caption,
          24,
          static_cast<std::int16_t>(y),
          0,
          0,
          word,
          0,
          nullptr};
}

}  // namespace

const ControlRow kControls[kControlCount] = {
    Text("TLR2 Control Panel", 12, 8, 290),
    Text("Force texture filter:", 12, 36, 290),
    Radio(100, "Default", 56, &S::forceFilter, 0),
    Radio(101, "Nearest", 76, &S::forceFilter, 1),
    Radio(102, "Bilinear", 96, &S::forceFilter, 2),
    Radio(103, "Trilinear", 116, &S::forceFilter, 3),
    Text("Force texture wrap:", 12, 148, 290),
    Radio(110, "Default", 168, &S::forceWrap, 0),
    Radio(111, "Repeat", 188, &S::forceWrap, 1),
    Radio(112, "Clamp to edge", 208, &S::forceWrap, 2),
    Check(120, "Disable alpha blend", 12, 240, 290, &S::disableBlend, true),
    Text("Rendering overrides:", 12, 272, 290),
    Check(140, "Disable face cull", 24, 292, 280, &S::disableFaceCull),
    Check(141, "Disable HiZ", 24, 312, 280, &S::disableHiZ),
    Check(142, "Disable alpha test", 24, 332, 280, &S::disableAlphaTest),
    Check(143, "Disable depth test", 24, 352, 280, &S::disableDepthTest),
    Text("Pipeline cutoff:", 12, 382, 290),
    List(181, 24, 402, 280, 200, &S::pipelineCutoff, kCutoffItems),
    Text("Force depth function:", 12, 442, 290),
    List(150, 24, 462, 280, 240, &S::forceDepthFunc, kDepthItems),
    Text("Raster ISA:", 12, 624, 72, kRightText),
    List(190, 88, 620, 216, 220, &S::forceIsa, kIsaItems),
    Text("Workers:", 12, 658, 72, kRightText),
    {200, kNumber, false, "", 88, 654, 56, 24, &S::workerLimit, 0, nullptr},
    Text("0 = full pool", 152, 658, 152),
    Check(201, "FPS overlay", 24, 684, 280, &S::showFpsOverlay),
    Text("Color adjustments:", 12, 714, 290),
    // The window is shorter than the last rows on purpose: they are reached by enlarging it.
    Slider(210, "Gamma", 738, &S::gammaX100),
    Slider(212, "Hue", 770, &S::hueDeg),
    Slider(214, "Saturation", 802, &S::saturationX100),
    Slider(216, "Brightness", 834, &S::brightnessX100),
    Slider(218, "Video range", 866, &S::videoRangeX100),
};

const ControlRow* FindControl(std::uint32_t id) noexcept {
  if (id == 0) return nullptr;
  for (const ControlRow& row : kControls)
    if (row.id == id) return &row;
  return nullptr;
}

const SettingRow& SettingOfControl(const ControlRow& row) noexcept {
  for (const SettingRow& setting : kSettingRows)
    if (setting.word == row.word) return setting;
  return kSettingRows[0];  // a test holds that every control with a word has its setting
}

void FormatSliderLabel(const ControlRow& row, std::int32_t value, char (&text)[kSliderLabelBytes]) noexcept {
  if (row.word == &DriverSettings::hueDeg) {
    std::snprintf(text, sizeof text, "%s %+d deg", row.caption, value);
  } else {
    std::snprintf(text, sizeof text, "%s %.2f", row.caption, value * 0.01);
  }
}

std::int32_t ParseNumberField(const char* text) noexcept {
  while (*text == ' ' || *text == '\t') ++text;
  if (*text == '+') ++text;
  std::int64_t value = 0;
  for (; *text >= '0' && *text <= '9' && value <= INT32_MAX; ++text) value = value * 10 + (*text - '0');
  return value <= INT32_MAX ? static_cast<std::int32_t>(value) : INT32_MAX;  // a minus sign leaves 0
}

}  // namespace tlr2
