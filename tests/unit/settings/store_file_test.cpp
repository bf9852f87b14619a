// The settings file of systems without a registry.
#if !defined(_WIN32)
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "platform/settings_backend.h"
#include "scoped_environment.h"

namespace tlr2 {
namespace {

class SettingsFile : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = (std::filesystem::temp_directory_path() / "tlr2_store_XXXXXX").string();
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    home_ = name;
  }
  void TearDown() override { std::filesystem::remove_all(home_); }

  std::filesystem::path File() const { return home_ / "conf/tlr2/driver.conf"; }
  void Fill(const std::string& text) const {
    std::filesystem::create_directories(File().parent_path());
    std::ofstream(File()) << text;
  }
  std::string Text() const {
    std::stringstream text;
    text << std::ifstream(File()).rdbuf();
    return text.str();
  }
  bool Read(const char* name, std::uint32_t& value) const {
    SettingsStore store;
    if (!SettingsOpenForRead(store)) return false;
    const bool found = SettingsRead(store, name, value);
    SettingsClose(store);
    return found;
  }

  std::filesystem::path home_;
};

TEST_F(SettingsFile, ReadsNumbersAndOnlyNumbers) {
  const test::ScopedEnvironment base("XDG_CONFIG_HOME", (home_ / "conf").c_str());
  Fill(
      "# a remark\nGammaX100=dword:130\nHueDeg=dword:-20\nBig=dword:4294967295\nText=hello\nPlain=12\nTail=dword:1x\n"
      "Empty=dword:\nMinus=dword:-\nTooBig=dword:4294967296\nTooSmall=dword:-2147483649\nHex=dword:0x10\ncrlf=dword:"
      "5\r\n"
      "Least=dword:-2147483648");
  std::uint32_t value = 99;
  for (const char* name : {"Text", "Plain", "Tail", "Empty", "Minus", "TooBig", "TooSmall", "Hex", "Absent", "Gamma"})
    EXPECT_FALSE(Read(name, value)) << name;
  EXPECT_EQ(value, 99u);
  EXPECT_TRUE(Read("GammaX100", value));
  EXPECT_EQ(value, 130u);
  EXPECT_TRUE(Read("gammax100", value));  // names have no case
  EXPECT_TRUE(Read("HueDeg", value));
  EXPECT_EQ(static_cast<std::int32_t>(value), -20);
  EXPECT_TRUE(Read("Big", value));
  EXPECT_EQ(value, 0xFFFFFFFFu);
  EXPECT_TRUE(Read("CRLF", value));
  EXPECT_EQ(value, 5u);
  EXPECT_TRUE(Read("Least", value));
  EXPECT_EQ(value, 0x80000000u);
}

TEST_F(SettingsFile, SaveKeepsOtherLinesAndLeavesNoTemporary) {
  const test::ScopedEnvironment base("XDG_CONFIG_HOME", (home_ / "conf").c_str());
  Fill("# mine\nHueDeg=dword:1\nOther=text\n");
  SettingsStore store;
  ASSERT_TRUE(SettingsOpenForWrite(store));
  SettingsWrite(store, "HueDeg", static_cast<std::uint32_t>(-7));
  SettingsWrite(store, "GammaX100", 90);
  EXPECT_EQ(Text(), "# mine\nHueDeg=dword:1\nOther=text\n");  // nothing before the end: one write of all
  SettingsClose(store);
  EXPECT_EQ(Text(), "# mine\nHueDeg=dword:-7\nOther=text\nGammaX100=dword:90\n");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(File().parent_path()), {}), 1);
}

TEST_F(SettingsFile, HomeServesWhenNoConfigurationDirectoryIsNamed) {
  const test::ScopedEnvironment home("HOME", home_.c_str());
  for (const char* unset : {static_cast<const char*>(nullptr), "", "relative/path"}) {
    const test::ScopedEnvironment base("XDG_CONFIG_HOME", unset);
    SettingsStore store;
    ASSERT_TRUE(SettingsOpenForWrite(store));
    SettingsWrite(store, "HueDeg", 3);
    SettingsClose(store);
    EXPECT_TRUE(std::filesystem::exists(home_ / ".config/tlr2/driver.conf"));
    std::filesystem::remove_all(home_ / ".config");
  }
}

TEST_F(SettingsFile, NowhereToWriteIsSilent) {
  const test::ScopedEnvironment base("XDG_CONFIG_HOME", nullptr);
  const test::ScopedEnvironment home("HOME", nullptr);
  SettingsStore store;
  EXPECT_FALSE(SettingsOpenForRead(store));
  EXPECT_FALSE(SettingsOpenForWrite(store));
  SettingsWrite(store, "HueDeg", 3);
  SettingsClose(store);
  std::ofstream(home_ / "conf") << "a file where the directory should be";
  const test::ScopedEnvironment blocked("XDG_CONFIG_HOME", (home_ / "conf").c_str());
  EXPECT_FALSE(SettingsOpenForWrite(store));
}

}  // namespace
}  // namespace tlr2
#endif
