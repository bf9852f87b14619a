// The settings store in the registry: REG_DWORD values under HKEY_CURRENT_USER\Software\TLR2\Driver.
#include "platform/settings_backend.h"

#include <windows.h>

namespace tlr2 {

namespace {

constexpr wchar_t kKeyPath[] = L"Software\\TLR2\\Driver";

/// Value names are plain ASCII.
struct WideName {
  wchar_t text[64];
  explicit WideName(const char* name) noexcept {
    std::size_t i = 0;
    for (; name[i] != '\0' && i + 1 < sizeof text / sizeof text[0]; ++i) text[i] = static_cast<unsigned char>(name[i]);
    text[i] = L'\0';
  }
};

HKEY KeyOf(const SettingsStore& store) noexcept { return static_cast<HKEY>(store.native); }

}  // namespace

bool SettingsOpenForRead(SettingsStore& store) noexcept {
  HKEY key = nullptr;
  const bool opened = RegOpenKeyExW(HKEY_CURRENT_USER, kKeyPath, 0, KEY_QUERY_VALUE, &key) == ERROR_SUCCESS;
  store.native = opened ? key : nullptr;
  return opened;
}

bool SettingsOpenForWrite(SettingsStore& store) noexcept {
  HKEY key = nullptr;
  const bool opened = RegCreateKeyExW(HKEY_CURRENT_USER, kKeyPath, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_SET_VALUE,
                                      nullptr, &key, nullptr) == ERROR_SUCCESS;
  store.native = opened ? key : nullptr;
  return opened;
}

bool SettingsRead(const SettingsStore& store, const char* name, std::uint32_t& value) noexcept {
  if (store.native == nullptr) return false;
  DWORD type = 0, data = 0, size = sizeof data;
  const LSTATUS status =
      RegQueryValueExW(KeyOf(store), WideName(name).text, nullptr, &type, reinterpret_cast<BYTE*>(&data), &size);
  if (status != ERROR_SUCCESS || type != REG_DWORD || size != sizeof data) return false;
  value = data;
  return true;
}

void SettingsWrite(const SettingsStore& store, const char* name, std::uint32_t value) noexcept {
  if (store.native == nullptr) return;
  const DWORD data = value;
  RegSetValueExW(KeyOf(store), WideName(name).text, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&data), sizeof data);
}

void SettingsRemove(SettingsStore& store, const char* name) noexcept {
  if (store.native != nullptr) RegDeleteValueW(KeyOf(store), WideName(name).text);
}

void SettingsClose(SettingsStore& store) noexcept {
  if (store.native != nullptr) RegCloseKey(KeyOf(store));
  store.native = nullptr;
}

}  // namespace tlr2
