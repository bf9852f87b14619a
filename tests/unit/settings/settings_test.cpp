// Loading, clamping and saving of the persistent words, and the accessor.
#include "settings/settings.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "platform/settings_backend.h"
#include "store_of_test.h"

namespace tlr2 {
namespace {

void StoreNumber(const char* name, std::int32_t value) {
  SettingsStore store;
  ASSERT_TRUE(SettingsOpenForWrite(store));
  SettingsWrite(store, name, static_cast<std::uint32_t>(value));
  SettingsClose(store);
}

std::int32_t Stored(const char* name) {
  SettingsStore store;
  std::uint32_t value = 0xDEADBEEF;
  EXPECT_TRUE(SettingsOpenForRead(store));
  EXPECT_TRUE(SettingsRead(store, name, value)) << name;
  SettingsClose(store);
  return static_cast<std::int32_t>(value);
}

/// What a fresh record holds after loading with `name` stored as `value`.
std::int32_t Loaded(SettingWord DriverSettings::* word, const char* name, std::int32_t value) {
  StoreNumber(name, value);
  DriverSettings settings;
  LoadSettings(settings);
  return settings.*word;
}

// The store that the accessor's first use finds, before any test.
struct FirstStore : testing::Environment {
  void SetUp() override {
    test::UseOwnStore();
    StoreNumber("ForceFilter", 7);
    StoreNumber("HueDeg", -200);
  }
};
[[maybe_unused]] const auto* const firstStore = testing::AddGlobalTestEnvironment(new FirstStore);

class SettingsRoom : public testing::Test {
 protected:
  void SetUp() override {
    Settings();  // loaded from the first store, before this test makes its own
    test::RemoveStore();
  }
};

TEST_F(SettingsRoom, FirstUseLoadsOnceOnWhateverThread) {
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (int i = 0; i < 8; ++i)
    threads.emplace_back([&wrong] {
      if (Settings().forceFilter != 3 || Settings().hueDeg != -180) wrong.fetch_add(1);
    });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
  StoreNumber("ForceFilter", 1);
  EXPECT_EQ(Settings().forceFilter, 3);  // never loaded again
}

TEST_F(SettingsRoom, WithoutStoreBuiltInsStand) {
  ASSERT_FALSE(test::StoreExists());
  DriverSettings settings;
  LoadSettings(settings);
  for (const SettingRow& row : kSettingRows) EXPECT_EQ(settings.*row.word, row.builtIn) << row.name;
  EXPECT_EQ(settings.kernelMode, 1);
  EXPECT_EQ(settings.panelDpi, 96);
  EXPECT_EQ(settings.reserved23, 2);
  EXPECT_FALSE(test::StoreExists());  // loading makes none
}

TEST_F(SettingsRoom, SaveMakesTheStore) {
  SaveSettings();
  EXPECT_TRUE(test::StoreExists());
}

TEST_F(SettingsRoom, LoadClampsToTheRanges) {
  EXPECT_EQ(Loaded(&DriverSettings::forceFilter, "ForceFilter", 7), 3);
  EXPECT_EQ(Loaded(&DriverSettings::forceFilter, "ForceFilter", -1), 0);
  EXPECT_EQ(Loaded(&DriverSettings::captureFrameCount, "CaptureFrameCount", 0), 1);
  EXPECT_EQ(Loaded(&DriverSettings::hueDeg, "HueDeg", -200), -180);
  EXPECT_EQ(Loaded(&DriverSettings::workerLimit, "WorkerLimit", 5000), 4096);
  for (const SettingRow& row : kSettingRows) {
    EXPECT_EQ(Loaded(row.word, row.name, row.minimum), row.minimum) << row.name;
    EXPECT_EQ(Loaded(row.word, row.name, row.maximum), row.maximum) << row.name;
    EXPECT_EQ(Loaded(row.word, row.name, row.minimum - 1), row.minimum) << row.name;
    EXPECT_EQ(Loaded(row.word, row.name, row.maximum + 1), row.maximum) << row.name;
    EXPECT_EQ(Loaded(row.word, row.name, INT32_MIN), row.minimum) << row.name;
    EXPECT_EQ(Loaded(row.word, row.name, INT32_MAX), row.maximum) << row.name;
  }
}

TEST_F(SettingsRoom, TextInPlaceOfANumberIsIgnored) {
  test::StoreText("GammaX100", "120");
  StoreNumber("HueDeg", 12);
  DriverSettings settings;
  LoadSettings(settings);
  EXPECT_EQ(settings.gammaX100, 100);
  EXPECT_EQ(settings.hueDeg, 12);
}

TEST_F(SettingsRoom, MissingValueLeavesWhatIsThere) {
  StoreNumber("ForceWrap", 2);
  DriverSettings settings;
  settings.gammaX100 = 77;
  LoadSettings(settings);
  EXPECT_EQ(settings.gammaX100, 77);
  EXPECT_EQ(settings.forceWrap, 2);
}

TEST_F(SettingsRoom, SaveWritesEveryWordAsItStands) {
  DriverSettings& settings = Settings();
  std::int32_t before[kSettingRowCount];
  for (int i = 0; i < kSettingRowCount; ++i) {
    before[i] = settings.*kSettingRows[i].word;
    settings.*kSettingRows[i].word = i % 2 == 0 ? 10000 + i : -10000 - i;  // outside every range: a save clamps nothing
  }
  SaveSettings();
  for (int i = 0; i < kSettingRowCount; ++i) {
    EXPECT_EQ(Stored(kSettingRows[i].name), i % 2 == 0 ? 10000 + i : -10000 - i) << kSettingRows[i].name;
    settings.*kSettingRows[i].word = before[i];
  }
  SaveSettings();
  DriverSettings loaded;
  LoadSettings(loaded);
  for (const SettingRow& row : kSettingRows) EXPECT_EQ(loaded.*row.word, settings.*row.word) << row.name;
}

TEST_F(SettingsRoom, OrdersOfLoadAndSave) {
  const char* const load[] = {
      "ForceFilter",      "ForceWrap",      "DisableBlend",   "DisableFaceCull", "DisableHiZ",     "DisableAlphaTest",
      "DisableDepthTest", "ForceDepthFunc", "ForceIsa",       "WorkerLimit",     "PipelineCutoff", "CaptureFrameCount",
      "ShowFpsOverlay",   "GammaX100",      "SaturationX100", "BrightnessX100",  "VideoRangeX100", "HueDeg"};
  const char* const save[] = {
      "ForceFilter",      "ForceWrap",      "DisableBlend", "DisableFaceCull", "DisableHiZ",     "DisableAlphaTest",
      "DisableDepthTest", "ForceDepthFunc", "ForceIsa",     "WorkerLimit",     "PipelineCutoff", "CaptureFrameCount",
      "ShowFpsOverlay",   "GammaX100",      "HueDeg",       "SaturationX100",  "BrightnessX100", "VideoRangeX100"};
  for (int i = 0; i < kSettingRowCount; ++i) {
    EXPECT_STREQ(kSettingRows[i].name, load[i]);
    EXPECT_STREQ(kSettingRows[kSettingSaveOrder[i]].name, save[i]);
  }
}

TEST_F(SettingsRoom, WordsStandInTheirOrder) {
  const auto* words = reinterpret_cast<const SettingWord*>(&Settings());
  const auto index = [words](const SettingWord& word) { return &word - words; };
  const DriverSettings& s = Settings();
  EXPECT_EQ(index(s.forceFilter), 0);
  EXPECT_EQ(index(s.forceDepthFunc), 7);
  EXPECT_EQ(index(s.forceIsa), 10);
  EXPECT_EQ(index(s.pipelineCutoff), 12);
  EXPECT_EQ(index(s.captureFrameCount), 13);
  EXPECT_EQ(index(s.kernelMode), 14);
  EXPECT_EQ(index(s.gammaX100), 16);
  EXPECT_EQ(index(s.videoRangeX100), 20);
  EXPECT_EQ(index(s.panelDpi), 22);
}

TEST_F(SettingsRoom, CutoffZeroStopsRecording) {
  EXPECT_TRUE(RecordingEnabled());
  Settings().pipelineCutoff = 0;
  EXPECT_FALSE(RecordingEnabled());
  Settings().pipelineCutoff = 5;
}

}  // namespace
}  // namespace tlr2
