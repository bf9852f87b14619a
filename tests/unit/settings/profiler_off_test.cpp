// The profiler compiled out: the same sources with the flag at 0, in a namespace of their own.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <type_traits>

#include "report_capture.h"

#undef TLR2_PROFILING
#define TLR2_PROFILING 0
#define tlr2 tlr2_without_profiling
#include "settings/profile_report.cpp"  // NOLINT(bugprone-suspicious-include)
#include "settings/profiler.cpp"        // NOLINT(bugprone-suspicious-include)
#undef tlr2

namespace {

TEST(ProfilerOff, ScopesAreNothingAndReportsAreEmpty) {
  {
    const tlr2_without_profiling::ScopeTimer scope("unseen");
  }
  EXPECT_TRUE(std::is_empty_v<tlr2_without_profiling::ScopeTimer>);
  EXPECT_TRUE(std::is_trivially_destructible_v<tlr2_without_profiling::ScopeTimer>);
  EXPECT_EQ(tlr2::test::Written(tlr2_without_profiling::ProfileReport), "");
  tlr2_without_profiling::ProfileReset();
}

}  // namespace
