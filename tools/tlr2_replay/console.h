// Standard output, standard error and Ctrl-C, the same on every system.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace tlr2::tool {

/// Once, before the first output: bytes go out as they are, and Ctrl-C asks the running command to end.
void PrepareConsole() noexcept;
/// "tlr2_replay: <message>" on standard error.
void PrintMessage(const std::string& message) noexcept;
/// As printf, into a string.
std::string Format(const char* format, ...)
#if defined(__MINGW32__)
    __attribute__((format(gnu_printf, 1, 2)));
#else
    __attribute__((format(printf, 1, 2)));
#endif

/// Ctrl-C was pressed. A second time ends the program at once.
bool Interrupted() noexcept;
/// Throws the failure "interrupted" after Ctrl-C; for the head of loops over frames or records.
void StopIfInterrupted();

/// A line on standard error that shows how far a long work is: only on a terminal, and only beyond a second.
class Progress {
 public:
  Progress(const char* what, std::uint64_t total) noexcept;
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();
  void Show(std::uint64_t done) noexcept;
  /// Takes the line of whichever progress shows off the terminal; before data goes out, which may end up there too.
  static void Clear() noexcept;

 private:
  const char* what_;
  std::uint64_t total_;
  std::chrono::steady_clock::time_point started_, shown_;
  bool terminal_;
};

}  // namespace tlr2::tool
