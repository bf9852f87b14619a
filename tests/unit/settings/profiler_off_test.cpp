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

namespace off = tlr2_without_profiling;

TEST(ProfilerOff, ScopesAreNothingAndReportsAreEmpty) {
  {
    const off::ScopeTimer scope("unseen");
    std::int64_t mark = off::ProfileMark();
    EXPECT_EQ(mark, 0) << "a clock was read";
    off::ScopeSeries series("unseen too", mark);
    series.EndAtMark();
    off::DividedScopes divided("nor this", mark);
    divided.End();
    divided.EndEmpty();
    divided.Skip();
    divided.Settle();
    EXPECT_EQ(mark, 0) << "a clock was read";
  }
  EXPECT_TRUE(std::is_empty_v<off::ScopeTimer>);
  EXPECT_TRUE(std::is_empty_v<off::ScopeSeries>);
  EXPECT_TRUE(std::is_empty_v<off::DividedScopes>);
  EXPECT_TRUE(std::is_trivially_destructible_v<off::ScopeTimer>);
  EXPECT_TRUE(std::is_trivially_destructible_v<off::ScopeSeries>);
  EXPECT_TRUE(std::is_trivially_destructible_v<off::DividedScopes>);
  EXPECT_EQ(tlr2::test::Written(off::ProfileReport), "");
  off::ProfileReset();
}

}  // namespace
