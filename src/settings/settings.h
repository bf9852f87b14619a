// DriverSettings: the process-wide overrides, read live by every consumer at the moment it needs a word.
#pragma once

#include <atomic>
#include <cstdint>

namespace tlr2 {

/// One signed 32-bit word that any thread may read and the panel may write, with no order against other words.
class SettingWord {
 public:
  constexpr SettingWord(std::int32_t value) noexcept : value_(value) {}  // NOLINT(google-explicit-constructor)
  operator std::int32_t() const noexcept {                               // NOLINT(google-explicit-constructor)
    return value_.load(std::memory_order_relaxed);
  }
  SettingWord& operator=(std::int32_t value) noexcept {
    value_.store(value, std::memory_order_relaxed);
    return *this;
  }

 private:
  std::atomic<std::int32_t> value_;
};
static_assert(sizeof(SettingWord) == 4);

/// 24 words, in the store's order, with their built-in values.
struct DriverSettings {
  SettingWord forceFilter{0};  // 1 nearest, 2 bilinear, 3 trilinear
  SettingWord forceWrap{0};    // 1 repeat, 2 clamp
  SettingWord disableBlend{0};
  SettingWord disableFaceCull{0};
  SettingWord disableHiZ{0};
  SettingWord disableAlphaTest{0};
  SettingWord disableDepthTest{0};
  SettingWord forceDepthFunc{0};  // 1 to 8: depth function code 0 to 7
  SettingWord reserved8{0};
  SettingWord reserved9{0};
  SettingWord forceIsa{0};     // 1 sse4, 2 avx, 3 avx2, 4 avx512skx
  SettingWord workerLimit{0};  // 0 the full pool
  SettingWord pipelineCutoff{5};
  SettingWord captureFrameCount{5};
  SettingWord kernelMode{1};
  SettingWord reserved15{0};
  SettingWord gammaX100{100};
  SettingWord hueDeg{0};
  SettingWord saturationX100{100};
  SettingWord brightnessX100{100};
  SettingWord videoRangeX100{0};
  SettingWord showFpsOverlay{0};
  SettingWord panelDpi{96};
  SettingWord reserved23{2};
};
static_assert(sizeof(DriverSettings) == 24 * 4);

struct SettingRow {
  SettingWord DriverSettings::* word;
  const char* name;  // the store's value name
  std::int32_t builtIn, minimum, maximum;
};
inline constexpr int kSettingRowCount = 18;
/// The persistent settings in the order of loading; `kSettingSaveOrder[i]` is the row written i-th by a save.
extern const SettingRow kSettingRows[kSettingRowCount];
extern const std::uint8_t kSettingSaveOrder[kSettingRowCount];

namespace detail {
extern DriverSettings driverSettings;
extern std::atomic<std::uint8_t> settingsLoaded;
DriverSettings& LoadSettingsOnce() noexcept;
}  // namespace detail

/// The record. The first use in the process, on any thread, loads the store once.
inline DriverSettings& Settings() noexcept {
  if (detail::settingsLoaded.load(std::memory_order_acquire) != 0) [[likely]]
    return detail::driverSettings;
  return detail::LoadSettingsOnce();
}

/// Reads the store into `settings`; clamps to the load ranges; missing or mistyped values leave what is there.
void LoadSettings(DriverSettings& settings) noexcept;
/// Writes all persistent words as they stand. Failures are silent.
void SaveSettings() noexcept;

/// Entries record unless the cutoff stops the frame before its command stream.
inline bool RecordingEnabled() noexcept { return Settings().pipelineCutoff != 0; }

}  // namespace tlr2
