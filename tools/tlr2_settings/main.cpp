// tlr2_settings: lists, gets, sets and resets the stored settings, with the driver's own names and ranges. Programs
// that run already keep their values; the next start reads the store.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "platform/settings_backend.h"
#include "settings/settings.h"
#include "tlr2_settings/effects.h"

namespace {

using tlr2::SettingRow;

constexpr int kDone = 0, kStoreFailed = 1, kWrongUse = 2;

constexpr char kUsage[] =
    "usage: tlr2_settings list               every setting: its value, range, built-in value and effect\n"
    "       tlr2_settings get NAME           the stored value, within its range, or the built-in one\n"
    "       tlr2_settings set NAME VALUE     stores a value\n"
    "       tlr2_settings reset [NAME...]    forgets what is stored, of all settings when none is named\n";

int WrongUse() {
  std::fputs(kUsage, stderr);
  return kWrongUse;
}

bool SameName(const char* a, const char* b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  for (; *a != '\0' && lower(*a) == lower(*b); ++a, ++b) {
  }
  return *a == '\0' && *b == '\0';
}

/// As the store itself, without regard to case. Null after an error line.
const SettingRow* Find(const char* name) {
  for (const SettingRow& row : tlr2::kSettingRows)
    if (SameName(row.name, name)) return &row;
  std::fprintf(stderr, "tlr2_settings: no setting is named '%s'\n", name);
  return nullptr;
}

/// The stored number, whatever it is; false without one.
bool Stored(const SettingRow& row, std::int32_t& value) {
  tlr2::SettingsStore store;
  if (!tlr2::SettingsOpenForRead(store)) return false;
  std::uint32_t word = 0;
  const bool found = tlr2::SettingsRead(store, row.name, word);
  tlr2::SettingsClose(store);
  value = static_cast<std::int32_t>(word);
  return found;
}

/// What a load makes of the store.
std::int32_t Loaded(const SettingRow& row) {
  std::int32_t value = 0;
  if (!Stored(row, value)) return row.builtIn;
  return value < row.minimum ? row.minimum : value > row.maximum ? row.maximum : value;
}

/// A whole decimal number within the setting's range; false after an error line.
bool ParseValue(const SettingRow& row, const char* text, std::int32_t& value) {
  const char* digit = text;
  const bool negative = *digit == '-';
  if (*digit == '-' || *digit == '+') ++digit;
  bool number = *digit != '\0';
  std::int64_t read = 0;
  for (; *digit >= '0' && *digit <= '9'; ++digit)
    if (read <= INT32_MAX) read = read * 10 + (*digit - '0');
  number = number && *digit == '\0';
  if (negative) read = -read;
  if (number && read >= row.minimum && read <= row.maximum) {
    value = static_cast<std::int32_t>(read);
    return true;
  }
  std::fprintf(stderr, "tlr2_settings: %s takes a whole number from %d to %d, not '%s'\n", row.name, row.minimum,
               row.maximum, text);
  return false;
}

int StoreFailed(const char* what) {
  std::fprintf(stderr, "tlr2_settings: cannot %s\n", what);
  return kStoreFailed;
}

int List() {
  std::printf("%-18s %6s  %-13s %8s  %s\n", "Name", "Value", "Range", "Built-in", "Effect");
  for (const SettingRow& row : tlr2::kSettingRows) {
    char range[32];
    std::snprintf(range, sizeof range, "%d to %d", row.minimum, row.maximum);
    std::printf("%-18s %6d  %-13s %8d  %s\n", row.name, Loaded(row), range, row.builtIn,
                tlr2::EffectOfSetting(row.name));
  }
  return kDone;
}

int Get(const char* name) {
  const SettingRow* row = Find(name);
  if (row == nullptr) return kWrongUse;
  std::printf("%d\n", Loaded(*row));
  return kDone;
}

int Set(const char* name, const char* text) {
  const SettingRow* row = Find(name);
  std::int32_t value = 0;
  if (row == nullptr || !ParseValue(*row, text, value)) return kWrongUse;
  tlr2::SettingsStore store;
  if (!tlr2::SettingsOpenForWrite(store)) return StoreFailed("open the store for writing");
  tlr2::SettingsWrite(store, row->name, static_cast<std::uint32_t>(value));
  tlr2::SettingsClose(store);
  std::int32_t kept = 0;  // the store itself keeps silent about failures
  return Stored(*row, kept) && kept == value ? kDone : StoreFailed("store the value");
}

int Reset(int count, char** names) {
  bool wanted[tlr2::kSettingRowCount] = {};
  for (bool& one : wanted) one = count == 0;
  for (int i = 0; i < count; ++i) {
    const SettingRow* row = Find(names[i]);
    if (row == nullptr) return kWrongUse;  // before anything is touched
    wanted[row - tlr2::kSettingRows] = true;
  }
  tlr2::SettingsStore store;
  if (!tlr2::SettingsOpenForRead(store)) return kDone;  // nothing is stored
  tlr2::SettingsClose(store);
  if (!tlr2::SettingsOpenForWrite(store)) return StoreFailed("open the store for writing");
  for (int i = 0; i < tlr2::kSettingRowCount; ++i)
    if (wanted[i]) tlr2::SettingsRemove(store, tlr2::kSettingRows[i].name);
  tlr2::SettingsClose(store);
  for (int i = 0; i < tlr2::kSettingRowCount; ++i) {
    std::int32_t value = 0;
    if (wanted[i] && Stored(tlr2::kSettingRows[i], value)) return StoreFailed("remove the value");
  }
  return kDone;
}

}  // namespace

int main(int count, char** arguments) {
  const char* command = count > 1 ? arguments[1] : "";
  if (std::strcmp(command, "list") == 0 && count == 2) return List();
  if (std::strcmp(command, "get") == 0 && count == 3) return Get(arguments[2]);
  if (std::strcmp(command, "set") == 0 && count == 4) return Set(arguments[2], arguments[3]);
  if (std::strcmp(command, "reset") == 0) return Reset(count - 2, arguments + 2);
  if (std::strcmp(command, "--help") == 0 && count == 2) {
    std::fputs(kUsage, stdout);
    return kDone;
  }
  return WrongUse();
}
