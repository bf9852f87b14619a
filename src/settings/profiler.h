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

/// Scopes of one name that follow each other without a gap, each counted as a ScopeTimer of its own: one begins where
/// the one before ended, so a boundary costs one reading of the clock, and a scope in which nothing happened none.
/// `mark` is the latest boundary, which series inside one another share; it starts at ProfileMark(). The figures reach
/// the tree when the series ends.
class ScopeSeries {
 public:
  ScopeSeries(const char* name, std::int64_t& mark) noexcept;
  ~ScopeSeries();
  ScopeSeries(const ScopeSeries&) = delete;
  ScopeSeries& operator=(const ScopeSeries&) = delete;

  /// Ends a scope now.
  void End() noexcept;
  /// Ends a scope at the latest boundary: one that did nothing, or one whose last inner scope has just ended.
  void EndAtMark() noexcept {
    const auto elapsed = static_cast<std::uint64_t>(mark_ - start_);
    start_ = mark_;
    ++calls_;
    total_ += elapsed;
    if (elapsed < least_) least_ = elapsed;
    if (elapsed > greatest_) greatest_ = elapsed;
  }

 private:
  ProfileNode* node_;
  std::int64_t& mark_;
  std::int64_t start_;
  std::uint64_t total_ = 0, calls_ = 0, least_ = ~std::uint64_t{0}, greatest_ = 0;
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
  void End() noexcept {}
  void EndAtMark() noexcept {}
};
inline std::int64_t ProfileMark() noexcept { return 0; }
inline void ProfileReport(std::FILE*) {}
inline void ProfileReset() {}
#endif

}  // namespace tlr2
