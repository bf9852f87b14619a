// The console of each system: streams without translation, Ctrl-C as a flag, progress for people.
#include "tlr2_replay/console.h"

#include <atomic>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#else
#include <unistd.h>
#endif

#include "tlr2_replay/command.h"

namespace tlr2::tool {
namespace {

constexpr auto kQuietFor = std::chrono::seconds(1);
constexpr auto kBetween = std::chrono::milliseconds(100);

// Set on the thread that the signal meets, read on those that work and on the one that watches the limits.
std::atomic<int> interrupted{0};
static_assert(std::atomic<int>::is_always_lock_free);
std::atomic<bool> progressShows{false};

extern "C" void OnInterrupt(int signal) {
  interrupted.store(1, std::memory_order_relaxed);
  std::signal(signal, SIG_DFL);
}

bool StandardErrorIsTerminal() noexcept {
#if defined(_WIN32)
  return _isatty(2) != 0;
#else
  return isatty(2) != 0;
#endif
}

}  // namespace

void PrepareConsole() noexcept {
#if defined(_WIN32)
  _setmode(1, _O_BINARY);
  _setmode(2, _O_BINARY);
#endif
  std::signal(SIGINT, OnInterrupt);
}

void PrintMessage(const std::string& message) noexcept {
  Progress::Clear();
  std::fprintf(stderr, "tlr2_replay: %s\n", message.c_str());
}

std::string Format(const char* format, ...) {
  std::va_list first, second;
  va_start(first, format);
  va_copy(second, first);
  const int length = std::vsnprintf(nullptr, 0, format, first);
  va_end(first);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, second);
  va_end(second);
  return text;
}

bool Interrupted() noexcept { return interrupted.load(std::memory_order_relaxed) != 0; }

void StopIfInterrupted() {
  if (Interrupted()) throw CommandFailure{kFailed, "interrupted"};
}

Progress::Progress(const char* what, std::uint64_t total) noexcept
    : what_(what),
      total_(total),
      started_(std::chrono::steady_clock::now()),
      shown_(started_),
      terminal_(StandardErrorIsTerminal()) {}

Progress::~Progress() { Clear(); }

void Progress::Clear() noexcept {
  if (progressShows.exchange(false)) std::fputs("\r\033[K", stderr);
}

void Progress::Show(std::uint64_t done) noexcept {
  if (!terminal_) return;
  const auto now = std::chrono::steady_clock::now();
  if (now - started_ < kQuietFor || now - shown_ < kBetween) return;
  shown_ = now;
  progressShows = true;
  std::fprintf(stderr, "\r%s %llu/%llu\033[K", what_, static_cast<unsigned long long>(done),
               static_cast<unsigned long long>(total_));
  std::fflush(stderr);
}

}  // namespace tlr2::tool
