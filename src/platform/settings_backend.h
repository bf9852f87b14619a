// Where settings persist: the registry on Windows, a small file under the user's configuration directory elsewhere.
#pragma once

#include <cstdint>

namespace tlr2 {

/// An open store; `native` null when it could not be opened.
struct SettingsStore {
  void* native = nullptr;
};

/// Opens the existing store for reading; false when it does not exist or cannot be opened.
bool SettingsOpenForRead(SettingsStore& store) noexcept;
/// Creates or opens the store for writing.
bool SettingsOpenForWrite(SettingsStore& store) noexcept;
/// True only for an existing 32-bit number of length 4.
bool SettingsRead(const SettingsStore& store, const char* name, std::uint32_t& value) noexcept;
void SettingsWrite(const SettingsStore& store, const char* name, std::uint32_t value) noexcept;
/// Forgets a value, if there is one.
void SettingsRemove(SettingsStore& store, const char* name) noexcept;
void SettingsClose(SettingsStore& store) noexcept;

}  // namespace tlr2
