// Limits end the program where it stands, from whichever thread meets them: the driver's tasks cannot be unwound.
#include "tlr2_replay/limits.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <thread>

#include "tlr2_replay/command.h"
#include "tlr2_replay/console.h"

namespace tlr2::tool {

namespace detail {
std::atomic<std::uint64_t> heapBytes{0}, heapLimit{UINT64_MAX};
}

namespace {

constexpr std::size_t kMostPaths = 8, kPathBytes = 1024;
constexpr auto kInterruptPoll = std::chrono::milliseconds(100);
/// What an interrupted command has to come to its own end.
constexpr auto kInterruptGrace = std::chrono::seconds(2);

// No allocation here: the memory limit ends the program through it.
struct EarlyEnd {
  std::mutex lock;
  char paths[kMostPaths][kPathBytes] = {};
};
EarlyEnd earlyEnd;

[[noreturn]] void EndEarly(const char* message) noexcept {
  Progress::Clear();
  std::fprintf(stderr, "tlr2_replay: %s\n", message);
  earlyEnd.lock.lock();  // and never given back: who asks from here on waits for the end
  for (const char* path : earlyEnd.paths) {
    if (path[0] != '\0') std::remove(path);
  }
  std::_Exit(kFailed);
}

/// Ends the program at its deadline, or after Ctrl-C when the command does not see it.
class Watch {
 public:
  explicit Watch(std::uint32_t maxSeconds) : thread_([this, maxSeconds] { Run(maxSeconds); }) {}
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;
  ~Watch() {
    {
      const std::lock_guard<std::mutex> guard(lock_);
      over_ = true;
    }
    wake_.notify_one();
    thread_.join();
  }

 private:
  void Run(std::uint32_t maxSeconds) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + std::chrono::seconds(maxSeconds);
    std::optional<Clock::time_point> interruptedSince;
    std::unique_lock<std::mutex> guard(lock_);
    while (!wake_.wait_for(guard, kInterruptPoll, [this] { return over_; })) {
      const Clock::time_point now = Clock::now();
      if (maxSeconds != 0 && now >= deadline) {
        char message[96];
        std::snprintf(message, sizeof message, "time limit of %u s reached (--max-seconds)",
                      static_cast<unsigned>(maxSeconds));
        EndEarly(message);
      }
      if (Interrupted() && !interruptedSince) interruptedSince = now;
      if (interruptedSince && now - *interruptedSince >= kInterruptGrace) EndEarly("interrupted");
    }
  }

  std::mutex lock_;
  std::condition_variable wake_;
  bool over_ = false;
  std::thread thread_;
};

std::optional<Watch> watch;

}  // namespace

void BeginLimits(std::uint32_t maxMemoryMiB, std::uint32_t maxSeconds) {
  detail::heapLimit.store(maxMemoryMiB == 0 ? UINT64_MAX : std::uint64_t{maxMemoryMiB} << 20,
                          std::memory_order_relaxed);
  watch.emplace(maxSeconds);
}

void EndLimits() noexcept { watch.reset(); }

void detail::EndForMemory() noexcept {
  const std::uint64_t limit = heapLimit.exchange(UINT64_MAX, std::memory_order_relaxed);
  char message[96];
  std::snprintf(message, sizeof message, "memory limit of %llu MiB reached (--max-memory)",
                static_cast<unsigned long long>(limit >> 20));
  EndEarly(message);
}

void RemoveAtEarlyEnd(const char* path) noexcept {
  const std::lock_guard<std::mutex> guard(earlyEnd.lock);
  if (std::strlen(path) >= kPathBytes) return;
  for (char* slot : earlyEnd.paths) {
    if (slot[0] != '\0') continue;
    std::strcpy(slot, path);
    return;
  }
}

void KeepAtEarlyEnd(const char* path) noexcept {
  const std::lock_guard<std::mutex> guard(earlyEnd.lock);
  for (char* slot : earlyEnd.paths) {
    if (std::strcmp(slot, path) == 0) slot[0] = '\0';
  }
}

}  // namespace tlr2::tool
