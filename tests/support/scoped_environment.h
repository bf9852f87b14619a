// Sets or unsets an environment variable for the length of a block.
#pragma once

#if defined(_WIN32)
#include <windows.h>
#else
#include <cstdlib>
#endif

#include <string>

namespace tlr2::test {

/// A null `value` unsets the variable.
inline void SetVariable(const char* name, const char* value) {
#if defined(_WIN32)
  SetEnvironmentVariableA(name, value);
#else
  if (value != nullptr) {
    setenv(name, value, 1);
  } else {
    unsetenv(name);
  }
#endif
}

class ScopedEnvironment {
 public:
  /// A null `value` unsets the variable.
  ScopedEnvironment(const char* name, const char* value) : name_(name) {
#if defined(_WIN32)
    char old[1024];
    const DWORD length = GetEnvironmentVariableA(name, old, sizeof old);
    had_ = length != 0 && length < sizeof old;
    if (had_) old_ = old;
#else
    const char* const old = std::getenv(name);
    had_ = old != nullptr;
    if (had_) old_ = old;
#endif
    Set(value);
  }
  ~ScopedEnvironment() { Set(had_ ? old_.c_str() : nullptr); }
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  void Set(const char* value) const { SetVariable(name_.c_str(), value); }

  std::string name_, old_;
  bool had_ = false;
};

}  // namespace tlr2::test
