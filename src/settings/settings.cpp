// The settings table, and loading and saving by it.
#include "settings/settings.h"

#include "platform/settings_backend.h"
#include "platform/sync.h"

namespace tlr2 {

const SettingRow kSettingRows[kSettingRowCount] = {
    {&DriverSettings::forceFilter, "ForceFilter", 0, 0, 3},
    {&DriverSettings::forceWrap, "ForceWrap", 0, 0, 2},
    {&DriverSettings::disableBlend, "DisableBlend", 0, 0, 1},
    {&DriverSettings::disableFaceCull, "DisableFaceCull", 0, 0, 1},
    {&DriverSettings::disableHiZ, "DisableHiZ", 0, 0, 1},
    {&DriverSettings::disableAlphaTest, "DisableAlphaTest", 0, 0, 1},
    {&DriverSettings::disableDepthTest, "DisableDepthTest", 0, 0, 1},
    {&DriverSettings::forceDepthFunc, "ForceDepthFunc", 0, 0, 8},
    {&DriverSettings::forceIsa, "ForceIsa", 0, 0, 4},
    {&DriverSettings::workerLimit, "WorkerLimit", 0, 0, 4096},
    {&DriverSettings::pipelineCutoff, "PipelineCutoff", 5, 0, 5},
    {&DriverSettings::captureFrameCount, "CaptureFrameCount", 5, 1, 1000},
    {&DriverSettings::showFpsOverlay, "ShowFpsOverlay", 0, 0, 1},
    {&DriverSettings::gammaX100, "GammaX100", 100, 50, 150},
    {&DriverSettings::saturationX100, "SaturationX100", 100, 0, 200},
    {&DriverSettings::brightnessX100, "BrightnessX100", 100, 50, 150},
    {&DriverSettings::videoRangeX100, "VideoRangeX100", 0, 0, 100},
    {&DriverSettings::hueDeg, "HueDeg", 0, -180, 180},
};

// Loading ends with the hue; saving has it right behind the gamma.
const std::uint8_t kSettingSaveOrder[kSettingRowCount] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 17, 14, 15, 16};

namespace detail {

constinit DriverSettings driverSettings{};
constinit std::atomic<std::uint8_t> settingsLoaded{0};

namespace {
constinit CriticalSection loadLock{};
}

DriverSettings& LoadSettingsOnce() noexcept {
  const LockHolder holder(loadLock);
  if (settingsLoaded.load(std::memory_order_relaxed) == 0) {
    LoadSettings(driverSettings);
    settingsLoaded.store(1, std::memory_order_release);
  }
  return driverSettings;
}

}  // namespace detail

void LoadSettings(DriverSettings& settings) noexcept {
  SettingsStore store;
  if (!SettingsOpenForRead(store)) return;
  for (const SettingRow& row : kSettingRows) {
    std::uint32_t stored = 0;
    if (!SettingsRead(store, row.name, stored)) continue;
    const auto value = static_cast<std::int32_t>(stored);
    settings.*row.word = value < row.minimum ? row.minimum : value > row.maximum ? row.maximum : value;
  }
  SettingsClose(store);
}

void SaveSettings() noexcept {
  // Taken first: the first use of the record reads the store, and must not see it half written.
  const DriverSettings& settings = Settings();
  SettingsStore store;
  if (!SettingsOpenForWrite(store)) return;
  for (const std::uint8_t index : kSettingSaveOrder) {
    const SettingRow& row = kSettingRows[index];
    SettingsWrite(store, row.name, static_cast<std::uint32_t>(std::int32_t{settings.*row.word}));
  }
  SettingsClose(store);
}

}  // namespace tlr2
