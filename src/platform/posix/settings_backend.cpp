// The settings store without a registry: tlr2/driver.conf under the user's configuration directory. A line is
// `Name=dword:100`; signs are allowed, names compare without case, and lines of any other form are kept and ignored.
#include "platform/settings_backend.h"

#include <errno.h>
#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

namespace tlr2 {

namespace {

constexpr char kNumberMark[] = "dword:";

struct Store {
  std::string path;
  std::vector<std::string> lines;
  bool writing = false;
};

/// Empty when the user has no configuration directory.
std::string ConfigurationDirectory() {
  const char* base = std::getenv("XDG_CONFIG_HOME");
  if (base != nullptr && base[0] == '/') return std::string(base) + "/tlr2";  // a relative one counts as unset
  const char* home = std::getenv("HOME");
  if (home == nullptr || home[0] == '\0') return {};
  return std::string(home) + "/.config/tlr2";
}

/// True when `directory` exists afterwards.
bool MakeDirectories(const std::string& directory) {
  for (std::size_t slash = directory.find('/', 1);; slash = directory.find('/', slash + 1)) {
    const std::string part = directory.substr(0, slash);
    if (mkdir(part.c_str(), 0700) != 0 && errno != EEXIST) return false;
    if (slash == std::string::npos) return true;
  }
}

bool ReadLines(Store& store) {
  std::FILE* file = std::fopen(store.path.c_str(), "re");
  if (file == nullptr) return false;
  std::string line;
  for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) {
    if (c == '\n') {
      store.lines.push_back(line);
      line.clear();
    } else if (c != '\r') {
      line.push_back(static_cast<char>(c));
    }
  }
  if (!line.empty()) store.lines.push_back(line);
  std::fclose(file);
  return true;
}

/// The text behind `name=`, or null when the line names something else.
const char* ValueOf(const std::string& line, const char* name) {
  const std::size_t length = std::strlen(name);
  if (line.size() <= length || line[length] != '=' || strncasecmp(line.c_str(), name, length) != 0) return nullptr;
  return line.c_str() + length + 1;
}

/// Decimal, -2147483648 to 4294967295, nothing behind it.
bool ParseNumber(const char* text, std::uint32_t& value) {
  if (std::strncmp(text, kNumberMark, sizeof kNumberMark - 1) != 0) return false;
  text += sizeof kNumberMark - 1;
  const bool negative = *text == '-';
  if (negative) ++text;
  if (*text == '\0') return false;
  std::uint64_t number = 0;
  for (; *text >= '0' && *text <= '9'; ++text) {
    number = number * 10 + static_cast<std::uint64_t>(*text - '0');
    if (number > (negative ? 0x80000000u : 0xFFFFFFFFu)) return false;
  }
  if (*text != '\0') return false;
  value = static_cast<std::uint32_t>(negative ? 0 - number : number);
  return true;
}

/// Writes beside the file and renames over it, so that a reader sees the old store or the new one.
void WriteLines(const Store& store) {
  std::string name = store.path + ".XXXXXX";
  const int descriptor = mkostemp(name.data(), O_CLOEXEC);
  if (descriptor < 0) return;
  std::FILE* file = fdopen(descriptor, "w");
  bool good = file != nullptr;
  if (good) {
    for (const std::string& line : store.lines) good = std::fprintf(file, "%s\n", line.c_str()) >= 0 && good;
    good = std::fflush(file) == 0 && fsync(descriptor) == 0 && good;
    good = std::fclose(file) == 0 && good;
  } else {
    close(descriptor);
  }
  if (!good || std::rename(name.c_str(), store.path.c_str()) != 0) unlink(name.c_str());
}

bool Open(SettingsStore& store, bool writing) {
  store.native = nullptr;
  const std::string directory = ConfigurationDirectory();
  if (directory.empty() || (writing && !MakeDirectories(directory))) return false;
  Store opened{directory + "/driver.conf", {}, writing};
  const bool exists = ReadLines(opened);
  if (!writing && !exists) return false;
  if (writing && access(directory.c_str(), W_OK) != 0) return false;
  store.native = new Store(std::move(opened));
  return true;
}

/// Settings never stop the program: running out of memory here means going without the store.
template <typename Action>
bool Silently(Action action) noexcept {
  try {
    return action();
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace

bool SettingsOpenForRead(SettingsStore& store) noexcept {
  return Silently([&] { return Open(store, false); });
}

bool SettingsOpenForWrite(SettingsStore& store) noexcept {
  return Silently([&] { return Open(store, true); });
}

bool SettingsRead(const SettingsStore& store, const char* name, std::uint32_t& value) noexcept {
  const auto* opened = static_cast<const Store*>(store.native);
  if (opened == nullptr) return false;
  for (const std::string& line : opened->lines)
    if (const char* text = ValueOf(line, name)) return ParseNumber(text, value);
  return false;
}

void SettingsWrite(const SettingsStore& store, const char* name, std::uint32_t value) noexcept {
  auto* opened = static_cast<Store*>(store.native);
  if (opened == nullptr || !opened->writing) return;
  Silently([&] {
    const std::string text = std::string(name) + "=" + kNumberMark + std::to_string(static_cast<std::int32_t>(value));
    for (std::string& line : opened->lines) {
      if (ValueOf(line, name) == nullptr) continue;
      line = text;
      return true;
    }
    opened->lines.push_back(text);
    return true;
  });
}

void SettingsRemove(SettingsStore& store, const char* name) noexcept {
  auto* opened = static_cast<Store*>(store.native);
  if (opened == nullptr || !opened->writing) return;
  std::erase_if(opened->lines, [name](const std::string& line) { return ValueOf(line, name) != nullptr; });
}

void SettingsClose(SettingsStore& store) noexcept {
  auto* opened = static_cast<Store*>(store.native);
  if (opened == nullptr) return;
  if (opened->writing) Silently([&] { return WriteLines(*opened), true; });
  delete opened;
  store.native = nullptr;
}

}  // namespace tlr2
