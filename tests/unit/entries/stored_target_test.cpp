// A start of the library over a store that holds a target: what the frames take, and what a panel would show.
#if !defined(_WIN32)  // tests/win32 has the registry and the panel itself
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "panel/controls.h"
#include "scratch_folder.h"
#include "settings/settings.h"
#include "settings/status.h"
#include "start/library.h"
#include "tiles/runtime_config.h"

namespace tlr2 {
namespace {

constexpr int kAsExpected = 77;

/// Starts the library in this process, which must not have used a setting yet, and never returns.
[[noreturn]] void StartOverStore(const char* stored, const char* target, std::int32_t selected, const char* shown) {
  const test::ScratchFolder folder;
  const std::filesystem::path home = folder.Path();
  setenv("XDG_CONFIG_HOME", home.c_str(), 1);
  unsetenv("TLR2_PIPELINE_CUTOFF");
  if (target != nullptr) {
    setenv("TLR2_ISA", target, 1);
  } else {
    unsetenv("TLR2_ISA");
  }
  std::filesystem::create_directories(home / "tlr2");
  std::ofstream(home / "tlr2" / "driver.conf") << stored << "DisableHiZ=dword:1\n";
  LibraryStart();
  const ControlRow* const list = FindControl(190);
  const std::int32_t word = Settings().*list->word;
  std::fprintf(stderr, "store read %d, word %d, selected %d, next frame %d, panel %s, %s\n",
               int{Settings().disableHiZ == 1}, static_cast<int>(word), static_cast<int>(SelectedIsa()),
               static_cast<int>(ResolveForcedIsa(Settings().forceIsa)), list->items[word], isaStatusLine);
  const bool good = Settings().disableHiZ == 1 && word == selected + 1 && SelectedIsa() == selected &&
                    ResolveForcedIsa(Settings().forceIsa) == selected && std::string(list->items[word]) == shown;
  std::filesystem::current_path("/");
  std::filesystem::remove_all(home);
  std::_Exit(good ? kAsExpected : 1);
}

class StoredTarget : public testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }  // each start in a process of its own
};

TEST_F(StoredTarget, IsForgottenAtTheNextStartAndThePanelShowsAuto) {
  EXPECT_EXIT(StartOverStore("ForceIsa=dword:3\n", nullptr, -1, "Auto"), testing::ExitedWithCode(kAsExpected),
              "auto-detected");
  EXPECT_EXIT(StartOverStore("ForceIsa=dword:3\n", "neon", -1, "Auto"), testing::ExitedWithCode(kAsExpected),
              "not recognized");
}

TEST_F(StoredTarget, StaysWhereTheEnvironmentSaysTheSame) {
  if (!IsaSupported(2)) GTEST_SKIP() << "SKIPPED: no AVX2";
  EXPECT_EXIT(StartOverStore("ForceIsa=dword:3\n", "avx2", 2, "Force AVX2"), testing::ExitedWithCode(kAsExpected),
              "avx2 .forced");
}

}  // namespace
}  // namespace tlr2
#endif
