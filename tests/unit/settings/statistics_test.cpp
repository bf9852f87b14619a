// Occupancy, stage counters and the status lines at load.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "platform/clock.h"
#include "report_capture.h"
#include "settings/occupancy.h"
#include "settings/stage_counters.h"
#include "settings/status.h"

namespace tlr2 {
namespace {

using test::Count;
using test::Written;

// The counters are never reset, so one test walks through their life in order.
TEST(Occupancy, ReportFollowsTheCounts) {
  const char* const histogramHead =
      "\nHistogram of tile-entry moments by simultaneous workers:\n"
      "  (N = # workers live when this tile entered, inclusive of self)\n";
  EXPECT_EQ(Written(OccupancyReport),
            std::string("\n=== Occupancy (TLR2 RJQ tile scheduling) ===\ntotal_work_ns=0  total_tile_entries=0\n") +
                histogramHead);
  OccupancyReport(nullptr);

  // Three tasks side by side, 10 seconds of work each by the start they hand back; then one alone.
  for (int i = 0; i < 3; ++i) OccupancyEnter();
  for (int i = 0; i < 3; ++i) OccupancyLeave(TicksNow() + TicksPerSecond());  // not above 0: nothing added
  std::string report = Written(OccupancyReport);
  EXPECT_NE(report.find("total_work_ns=0  total_tile_entries=3\navg_us_per_tile=0.00\n"), std::string::npos) << report;
  OccupancyEnter();
  OccupancyLeave(TicksNow() - 40000 * TicksPerSecond());  // longer than a 64-bit product of ticks and 10^9 allows
  report = Written(OccupancyReport);
  EXPECT_NE(report.find("total_work_ns=40000"), std::string::npos) << report;
  EXPECT_NE(report.find("total_tile_entries=4\navg_us_per_tile=10000"), std::string::npos) << report;
  EXPECT_EQ(report.substr(report.find(histogramHead) + std::string(histogramHead).size()),
            "  N=  1 :            2  (50.00 %)\n"
            "  N=  2 :            1  (25.00 %)\n"
            "  N=  3 :            1  (25.00 %)\n");

  // The live count wraps below zero: counted in the sum, printed nowhere.
  OccupancyLeave(TicksNow() + TicksPerSecond());
  OccupancyEnter();  // live is 0
  report = Written(OccupancyReport);
  EXPECT_EQ(Count(report, "N=  0"), 0u);
  EXPECT_NE(report.find("  N=  1 :            2  (40.00 %)\n"), std::string::npos) << report;

  // 260 live tasks: those above 255 count at 255.
  for (int i = 0; i < 260; ++i) OccupancyEnter();
  for (int i = 0; i < 260; ++i) OccupancyLeave(TicksNow() + TicksPerSecond());
  report = Written(OccupancyReport);
  EXPECT_NE(report.find("  N=254 :            1  "), std::string::npos) << report;
  EXPECT_NE(report.find("  N=255 :            6  "), std::string::npos) << report;
  EXPECT_EQ(Count(report, "N=256"), 0u);
}

TEST(StageCounters, AddOnlyWhileTimingIsOn) {
  StageCounters& stages = StageCountersInstance();
  StageAdd(3, 100, 1);
  EXPECT_EQ(stages.ticks[3].load(), 0u);
  SetStageTiming(true);
  EXPECT_TRUE(StageTimingEnabled());
  StageAdd(3, 100, 2);
  StageAdd(3, 50, 1);
  StageAdd(9, 7, 7);
  StageAdd(10, 1, 1);
  StageAdd(-1, 1, 1);
  SetStageTiming(false);
  StageAdd(3, 1000, 1);
  EXPECT_EQ(stages.ticks[3].load(), 150u);
  EXPECT_EQ(stages.counts[3].load(), 3u);
  EXPECT_EQ(stages.ticks[9].load(), 7u);
  std::uint64_t sum = 0;
  for (int i = 0; i < kStageCount; ++i) sum += stages.ticks[i].load() + stages.counts[i].load();
  EXPECT_EQ(sum, 150u + 3u + 7u + 7u);
}

TEST(StageCounters, AddFromManyThreadsLosesNothing) {
  StageCounters& stages = StageCountersInstance();
  const std::uint64_t before = stages.ticks[5].load();
  SetStageTiming(true);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([] {
      for (int n = 0; n < 5000; ++n) StageAdd(5, 3, 1);
    });
  for (auto& thread : threads) thread.join();
  SetStageTiming(false);
  EXPECT_EQ(stages.ticks[5].load() - before, 60000u);
  stages.ticks[5].store(before);
  stages.counts[5].store(0);
}

TEST(StatusLines, TextsAtLoad) {
  EXPECT_STREQ(isaStatusLine, "");
  EXPECT_STREQ(threadsStatusLine, "[TLR2 threads = default (LPs minus producer)]");
  EXPECT_STREQ(framebufferStatusLine, "[TLR2 framebuffer = not set]");
}

}  // namespace
}  // namespace tlr2
