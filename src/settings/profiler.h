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
#else
class ScopeTimer {
 public:
  explicit ScopeTimer(const char*) noexcept {}
};
#endif

/// Writes the merged tree and the per-thread breakdown. A null file does nothing.
void ProfileReport(std::FILE* file);
/// Zeroes all counts, keeping the nodes.
void ProfileReset();

}  // namespace tlr2
