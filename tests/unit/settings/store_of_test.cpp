// The test program's store: a temporary configuration directory, or the key itself where there is a registry.
#include "store_of_test.h"

#if defined(_WIN32)
#include <windows.h>

namespace tlr2::test {

namespace {
constexpr wchar_t kPath[] = L"Software\\TLR2\\Driver";
}

void UseOwnStore() { RemoveStore(); }

void RemoveStore() { RegDeleteKeyW(HKEY_CURRENT_USER, kPath); }

bool StoreExists() {
  HKEY key = nullptr;
  const bool exists = RegOpenKeyExW(HKEY_CURRENT_USER, kPath, 0, KEY_QUERY_VALUE, &key) == ERROR_SUCCESS;
  if (exists) RegCloseKey(key);
  return exists;
}

void StoreText(const char* name, const char* text) {
  HKEY key = nullptr;
  RegCreateKeyExW(HKEY_CURRENT_USER, kPath, 0, nullptr, 0, KEY_SET_VALUE, nullptr, &key, nullptr);
  RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text),
                 static_cast<DWORD>(std::string(text).size() + 1));
  RegCloseKey(key);
}

}  // namespace tlr2::test

#else
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace tlr2::test {

namespace {

struct Directory {
  std::filesystem::path path;
  Directory() {
    std::string name = (std::filesystem::temp_directory_path() / "tlr2_settings_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) std::abort();
    path = name;
  }
  ~Directory() { std::filesystem::remove_all(path); }
};

std::filesystem::path StoreFile() { return std::filesystem::path(std::getenv("XDG_CONFIG_HOME")) / "tlr2/driver.conf"; }

}  // namespace

void UseOwnStore() {
  static const Directory directory;
  setenv("XDG_CONFIG_HOME", directory.path.c_str(), 1);
}

void RemoveStore() { std::filesystem::remove_all(StoreFile().parent_path()); }
bool StoreExists() { return std::filesystem::exists(StoreFile()); }

void StoreText(const char* name, const char* text) {
  std::filesystem::create_directories(StoreFile().parent_path());
  std::ofstream(StoreFile(), std::ios::app) << name << "=" << text << "\n";
}

}  // namespace tlr2::test
#endif
