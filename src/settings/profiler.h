// The scoped profiler: a tree of named timed scopes for each thread.
#pragma once

#include <cstdint>
#include <cstdio>

#ifndef TLR2_PROFILING
#define TLR2_PROFILING 1
#endif

namespace tlr2 {

struct ProfileNode;

#if TLR2_PROFILING
/// Times its own lifetime under `name`, a literal that is compared by pointer.
class ScopeTimer {
 public:
  explicit ScopeTimer(const char* name) noexcept;
  ~ScopeTimer();
  ScopeTimer(const ScopeTimer&) = delete;
  ScopeTimer& operator=(const ScopeTimer&) = delete;

 private:
  ProfileNode* node_;
  std::int64_t start_;
};

/// What scopes of one name took together, to be added to their node at once.
struct ScopeFigures {
  std::uint64_t total = 0, calls = 0, least = ~std::uint64_t{0}, greatest = 0;

  void AddEmpties(std::uint64_t count) noexcept {
    calls += count;
    if (count != 0) least = 0;
  }
  void Add(std::int64_t elapsed) noexcept {
    const auto ticks = static_cast<std::uint64_t>(elapsed);
    ++calls;
    total += ticks;
    if (ticks < least) least = ticks;
    if (ticks > greatest) greatest = ticks;
  }
};

/// Scopes of one name that follow each other without a gap, each counted as a ScopeTimer of its own: one begins where
/// the one before ended. `mark` is the latest boundary, which the scopes inside move on; it starts at ProfileMark().
/// The figures reach the tree when the series ends.
class ScopeSeries {
 public:
  ScopeSeries(const char* name, std::int64_t& mark) noexcept;
  ~ScopeSeries();
  ScopeSeries(const ScopeSeries&) = delete;
  ScopeSeries& operator=(const ScopeSeries&) = delete;

  /// Ends a scope at the latest boundary.
  void EndAtMark() noexcept {
    figures_.Add(mark_ - start_);
    start_ = mark_;
  }

 private:
  ProfileNode* node_;
  std::int64_t& mark_;
  std::int64_t start_;
  ScopeFigures figures_;
};

/// The same of scopes that are short beside a reading of the clock: it is read once for some of them, at most 16, and
/// moves `mark` on. How much of the time since fell to each, the processor's counter tells, which is read at each
/// boundary. Scopes in which nothing happened take no time.
class DividedScopes {
 public:
  DividedScopes(const char* name, std::int64_t& mark) noexcept;
  ~DividedScopes();
  DividedScopes(const DividedScopes&) = delete;
  DividedScopes& operator=(const DividedScopes&) = delete;

  /// Ends a scope now.
  void End() noexcept;
  /// Ends some in which nothing happened.
  void EndEmpty(std::uint64_t count = 1) noexcept { empties_ += count; }
  /// Where no scope has ended since the last call: what has passed until now is none's.
  void Skip() noexcept;
  /// Moves the mark to now if a scope has ended since it was moved.
  void Settle() noexcept {
    if (count_ != 0) Divide();
  }

 private:
  static constexpr int kMost = 16;

  void Divide() noexcept;

  ProfileNode* node_;
  std::int64_t& mark_;
  std::uint64_t boundaries_[kMost + 1];
  int count_ = 0;
  std::uint64_t empties_ = 0;
  ScopeFigures figures_;
};
std::int64_t ProfileMark() noexcept;

/// Writes the merged tree and the per-thread breakdown. A null file does nothing.
void ProfileReport(std::FILE* file);
/// Zeroes all counts, keeping the nodes.
void ProfileReset();
#else
// Nothing is left of it, neither in code nor in data.
/// Takes a name at compile time, or debug information would keep the literals.
struct ScopeName {
  consteval ScopeName(const char*) noexcept {}
};
class ScopeTimer {
 public:
  explicit ScopeTimer(ScopeName) noexcept {}
};
class ScopeSeries {
 public:
  ScopeSeries(ScopeName, std::int64_t&) noexcept {}
  void EndAtMark() noexcept {}
};
class DividedScopes {
 public:
  DividedScopes(ScopeName, std::int64_t&) noexcept {}
  void End() noexcept {}
  void EndEmpty(std::uint64_t = 1) noexcept {}
  void Skip() noexcept {}
  void Settle() noexcept {}
};
inline std::int64_t ProfileMark() noexcept { return 0; }
inline void ProfileReport(std::FILE*) {}
inline void ProfileReset() {}
#endif

}  // namespace tlr2
