// The scoped profiler's trees and the exact form of its report.
#include "settings/profiler.h"

#include <gtest/gtest.h>

#include <chrono>
#include <regex>
#include <thread>
#include <vector>

#include "platform/clock.h"
#include "platform/thread_block.h"
#include "report_capture.h"
#include "settings/profile_tree.h"

#if TLR2_PROFILING

namespace tlr2 {
namespace {

using test::Count;
using test::Written;

std::string reportBeforeAnyScope;
struct EarlyReport : testing::Environment {
  void SetUp() override { reportBeforeAnyScope = Written(ProfileReport); }
};
[[maybe_unused]] const auto* const earlyReport = testing::AddGlobalTestEnvironment(new EarlyReport);

const char* const kOuter = "outer";
const char* const kInner = "inner";
const char* const kOther = "other";

/// Runs `body` on a thread of its own and gives back that thread's root, or null when it opened no scope.
template <typename Body>
ProfileNode* RootAfter(Body body) {
  ProfileNode* root = nullptr;
  std::thread([&] {
    body();
    root = CurrentThreadGuard().profileRoot;
  }).join();
  return root;
}

std::vector<const ProfileNode*> Children(const ProfileNode* node) {
  std::vector<const ProfileNode*> children;
  for (const ProfileNode* child = node->firstChild; child != nullptr; child = child->nextSibling)
    children.push_back(child);
  return children;
}

TEST(Profiler, ReportBeforeAnyScopeIsOneLine) {
  EXPECT_EQ(reportBeforeAnyScope,
            "\n=== TLR2 scoped profile: no data (TLR2_PROFILING enabled but no scopes executed) ===\n\n");
}

TEST(Profiler, ThreadWithoutScopesHasNoRoot) {
  EXPECT_EQ(RootAfter([] {}), nullptr);
}

TEST(Profiler, SameLiteralUnderOneParentIsOneNode) {
  const ProfileNode* root = RootAfter([] {
    {
      const ScopeTimer scope(kOuter);
    }
    {
      const ScopeTimer scope(kOuter);
    }
  });
  ASSERT_NE(root, nullptr);
  EXPECT_STREQ(root->name, "<thread root>");
  EXPECT_EQ(root->calls.load(), 0u);
  EXPECT_EQ(root->totalTicks.load(), 0u);
  const auto children = Children(root);
  ASSERT_EQ(children.size(), 1u);
  EXPECT_EQ(children[0]->name, kOuter);
  EXPECT_EQ(children[0]->calls.load(), 2u);
  EXPECT_LE(children[0]->minTicks.load(), children[0]->maxTicks.load());
  EXPECT_GE(children[0]->totalTicks.load(), children[0]->maxTicks.load());
}

TEST(Profiler, EqualTextsAtDifferentPlacesAreDifferentScopes) {
  static const char first[] = "same text";
  static const char second[] = "same text";
  const ProfileNode* root = RootAfter([] {
    {
      const ScopeTimer scope(first);
    }
    {
      const ScopeTimer scope(second);
    }
  });
  EXPECT_EQ(Children(root).size(), 2u);
}

TEST(Profiler, SameScopeUnderDifferentParentsIsSeparate) {
  const ProfileNode* root = RootAfter([] {
    {
      const ScopeTimer outer(kOuter);
      const ScopeTimer inner(kInner);
    }
    {
      const ScopeTimer outer(kOther);
      const ScopeTimer inner(kInner);
    }
    {
      const ScopeTimer inner(kInner);
    }
  });
  const auto children = Children(root);
  ASSERT_EQ(children.size(), 3u);
  EXPECT_EQ(children[0]->name, kInner);  // the newest child heads the list
  EXPECT_EQ(children[1]->name, kOther);
  EXPECT_EQ(children[2]->name, kOuter);
  for (int i : {1, 2}) {
    ASSERT_EQ(Children(children[i]).size(), 1u);
    EXPECT_EQ(Children(children[i])[0]->name, kInner);
    EXPECT_EQ(Children(children[i])[0]->parent, children[i]);
    EXPECT_EQ(Children(children[i])[0]->calls.load(), 1u);
  }
}

TEST(Profiler, ScopeClosesOnException) {
  const ProfileNode* root = RootAfter([] {
    try {
      const ScopeTimer outer(kOuter);
      const ScopeTimer inner(kInner);
      throw 1;
    } catch (int) {
    }
    EXPECT_EQ(CurrentThreadGuard().profileCursor, CurrentThreadGuard().profileRoot);
  });
  EXPECT_EQ(Children(root)[0]->calls.load(), 1u);
}

TEST(Profiler, SeriesCountsEachOfItsScopesAndThoseInsideIt) {
  std::int64_t before = 0, after = 0;
  const ProfileNode* root = RootAfter([&] {
    const ScopeTimer around(kOuter);
    before = TicksNow();
    std::int64_t mark = ProfileMark();
    ScopeSeries outer(kOther, mark);
    for (int i = 0; i < 3; ++i, outer.EndAtMark()) {
      DividedScopes inner(kInner, mark);
      inner.EndEmpty();
      const std::int64_t busyUntil = TicksNow() + TicksPerSecond() / 1000;
      while (TicksNow() < busyUntil) {
      }
      inner.End();
      inner.EndEmpty();
    }
    after = TicksNow();
  });
  const auto outer = Children(Children(root)[0]);
  ASSERT_EQ(outer.size(), 1u);
  const auto inner = Children(outer[0]);
  ASSERT_EQ(inner.size(), 1u);
  const auto millisecond = static_cast<std::uint64_t>(TicksPerSecond() / 1000);
  EXPECT_EQ(outer[0]->calls.load(), 3u);
  EXPECT_EQ(inner[0]->calls.load(), 9u);
  EXPECT_EQ(inner[0]->minTicks.load(), 0u);
  EXPECT_GE(inner[0]->maxTicks.load(), millisecond);
  EXPECT_GE(inner[0]->totalTicks.load(), 3 * millisecond);
  EXPECT_LE(inner[0]->totalTicks.load(), static_cast<std::uint64_t>(after - before));
  EXPECT_EQ(outer[0]->totalTicks.load(), inner[0]->totalTicks.load());
  EXPECT_GE(outer[0]->minTicks.load(), millisecond);
}

TEST(Profiler, SeriesLeavesTheCursorWhereItWas) {
  RootAfter([] {
    const ScopeTimer around(kOuter);
    const ProfileNode* cursor = CurrentThreadGuard().profileCursor;
    {
      std::int64_t mark = ProfileMark();
      ScopeSeries series(kOther, mark);
      EXPECT_EQ(CurrentThreadGuard().profileCursor->parent, cursor);
      {
        DividedScopes divided(kInner, mark);
        EXPECT_EQ(CurrentThreadGuard().profileCursor->parent->parent, cursor);
        divided.End();
      }
      series.EndAtMark();
    }
    EXPECT_EQ(CurrentThreadGuard().profileCursor, cursor);
  });
}

void BeBusy(std::int64_t microseconds) {
  const std::int64_t until = TicksNow() + TicksPerSecond() * microseconds / 1000000;
  while (TicksNow() < until) {
  }
}

TEST(Profiler, DividedScopesGetWhatEachTook) {
  std::int64_t mark = 0, start = 0;
  const ProfileNode* root = RootAfter([&] {
    start = mark = ProfileMark();
    DividedScopes scopes(kOuter, mark);
    for (int i = 0; i < 7; ++i) {
      scopes.EndEmpty();
      BeBusy(i == 3 ? 4000 : 1000);
      scopes.End();
    }
  });
  const ProfileNode* node = Children(root)[0];
  const auto millisecond = static_cast<std::uint64_t>(TicksPerSecond() / 1000);
  EXPECT_EQ(node->calls.load(), 14u);
  EXPECT_EQ(node->minTicks.load(), 0u);
  EXPECT_EQ(node->totalTicks.load(), static_cast<std::uint64_t>(mark - start)) << "nothing is lost by rounding";
  EXPECT_GE(node->totalTicks.load(), 10 * millisecond);
  EXPECT_GE(node->maxTicks.load(), 4 * millisecond - millisecond / 10);
  EXPECT_LE(node->maxTicks.load(), node->totalTicks.load() - 5 * millisecond);
}

TEST(Profiler, DividedScopesAreAsManyAsOneLikes) {
  std::int64_t mark = 0, start = 0;
  const ProfileNode* root = RootAfter([&] {
    start = mark = ProfileMark();
    DividedScopes scopes(kOuter, mark);
    for (int i = 0; i < 1000; ++i) scopes.End();
  });
  const ProfileNode* node = Children(root)[0];
  EXPECT_EQ(node->calls.load(), 1000u);
  EXPECT_EQ(node->totalTicks.load(), static_cast<std::uint64_t>(mark - start));
  EXPECT_LE(node->maxTicks.load(), node->totalTicks.load());
}

TEST(Profiler, DividedScopesSkipWhatIsNoneOfTheirs) {
  std::int64_t mark = 0, start = 0, skipped = 0;
  const ProfileNode* root = RootAfter([&] {
    start = mark = ProfileMark();
    DividedScopes scopes(kOuter, mark);
    scopes.End();
    scopes.Settle();
    const std::int64_t settled = mark;
    scopes.Settle();
    EXPECT_EQ(mark, settled) << "no scope has ended";
    BeBusy(3000);
    scopes.Skip();
    skipped = mark - settled;
    BeBusy(1000);
    scopes.End();
    scopes.End();
  });
  const ProfileNode* node = Children(root)[0];
  const auto millisecond = static_cast<std::uint64_t>(TicksPerSecond() / 1000);
  EXPECT_EQ(node->calls.load(), 3u);
  EXPECT_GE(static_cast<std::uint64_t>(skipped), 3 * millisecond);
  EXPECT_EQ(node->totalTicks.load(), static_cast<std::uint64_t>(mark - start - skipped));
  EXPECT_GE(node->maxTicks.load(), millisecond - millisecond / 10);
}

TEST(Profiler, DividedScopesInWhichNothingHappenedTakeNoTime) {
  std::int64_t mark = 0, start = 0;
  const ProfileNode* root = RootAfter([&] {
    start = mark = ProfileMark();
    BeBusy(100);
    DividedScopes scopes(kOuter, mark);
    for (int i = 0; i < 40; ++i) scopes.EndEmpty();
  });
  EXPECT_EQ(mark, start);
  EXPECT_EQ(Children(root)[0]->calls.load(), 40u);
  EXPECT_EQ(Children(root)[0]->totalTicks.load(), 0u);
  EXPECT_EQ(Children(root)[0]->maxTicks.load(), 0u);
}

TEST(Profiler, NullFileDoesNothing) { ProfileReport(nullptr); }

TEST(Profiler, ResetZeroesCountsAndKeepsNodes) {
  ProfileNode* root = RootAfter([] {
    const ScopeTimer outer(kOuter);
    const ScopeTimer inner(kInner);
  });
  ProfileReset();
  ASSERT_EQ(Children(root).size(), 1u);
  const ProfileNode* outer = Children(root)[0];
  ASSERT_EQ(Children(outer).size(), 1u);
  for (const ProfileNode* node : {outer, Children(outer)[0]}) {
    EXPECT_EQ(node->totalTicks.load(), 0u);
    EXPECT_EQ(node->calls.load(), 0u);
    EXPECT_EQ(node->minTicks.load(), ~std::uint64_t{0});
    EXPECT_EQ(node->maxTicks.load(), 0u);
  }
}

/// Puts figures into a node so that the report's texts can be told in advance.
void SetFigures(const ProfileNode* node, std::int64_t totalUs, std::uint64_t calls, std::int64_t minUs,
                std::int64_t maxUs) {
  auto* figures = const_cast<ProfileNode*>(node);
  const auto ticks = [](std::int64_t us) { return static_cast<std::uint64_t>(us * TicksPerSecond() / 1000000); };
  figures->totalTicks = ticks(totalUs);
  figures->calls = calls;
  figures->minTicks = ticks(minUs);
  figures->maxTicks = ticks(maxUs);
}

std::string Line(const char* indent, const char* name, const char* figures) {
  std::string padded = name;
  padded.resize(50, ' ');
  return std::string(indent) + padded + figures;
}

TEST(Profiler, ReportPrintsMergedTreeAndThreads) {
  ProfileReset();
  static const char top[] = "report top", small[] = "report small", big[] = "report big", idle[] = "report idle";
  std::size_t firstIndex = 0;
  const auto scopes = [] {
    const ScopeTimer outer(top);
    {
      const ScopeTimer scope(small);
    }
    {
      const ScopeTimer scope(big);
    }
    {
      const ScopeTimer scope(idle);
    }
  };
  const ProfileNode* a = RootAfter(scopes);
  firstIndex = CopyProfileRoots().size() - 1;
  const ProfileNode* b = RootAfter(scopes);
  for (const ProfileNode* root : {a, b}) {
    const auto children = Children(Children(root)[0]);  // idle, big, small
    SetFigures(Children(root)[0], 4000, 2, 1500, 2500);
    const_cast<ProfileNode*>(children[0])->calls = 0;
    const_cast<ProfileNode*>(children[0])->minTicks = kNoMinimum;
    const_cast<ProfileNode*>(children[0])->maxTicks = 0;
    const_cast<ProfileNode*>(children[0])->totalTicks = 0;
    SetFigures(children[1], root == a ? 3000 : 2000, 1, root == a ? 3000 : 2000, root == a ? 3000 : 2000);
    SetFigures(children[2], 100, 1, 100, 100);
  }
  const std::string report = Written(ProfileReport);
  const std::string head = "\n=== TLR2 scoped profile (merged across " + std::to_string(CopyProfileRoots().size()) +
                           " thread(s)) ===\n[compiled with TLR2_PROFILING=1; define 0 to disable.]\n"
                           "[columns: calls | total ms | % of parent | mean us | min us | max us]\n\n";
  EXPECT_EQ(report.compare(0, head.size(), head), 0) << report.substr(0, 400);
  const std::string merged = Line("", top,
                                  " calls=         4  total=     8.000 ms (100.00%)  mean=   2000.00 us  min=   "
                                  "1500.00 us  max=   2500.00 us\n") +
                             Line("  ", big,
                                  " calls=         2  total=     5.000 ms ( 62.50%)  mean=   2500.00 us  min=   "
                                  "2000.00 us  max=   3000.00 us\n") +
                             Line("  ", small,
                                  " calls=         2  total=     0.200 ms (  2.50%)  mean=    100.00 us  min=    "
                                  "100.00 us  max=    100.00 us\n") +
                             Line("  ", idle,
                                  " calls=         0  total=     0.000 ms (  0.00%)  mean=      0.00 us  min=      "
                                  "0.00 us  max=      0.00 us\n");
  EXPECT_NE(report.find(merged), std::string::npos) << report;
  EXPECT_EQ(Count(report, "\n=== TLR2 scoped profile: per-thread breakdown ===\n\n"), 1u);
  const std::string thread = "-- thread[" + std::to_string(firstIndex) + "] (" +
                             (firstIndex == 0 ? "main/first" : "worker") + ") --\n" +
                             Line("", top,
                                  " calls=         2  total=     4.000 ms (100.00%)  mean=   2000.00 us  min=   "
                                  "1500.00 us  max=   2500.00 us\n") +
                             Line("  ", big,
                                  " calls=         1  total=     3.000 ms ( 75.00%)  mean=   3000.00 us  min=   "
                                  "3000.00 us  max=   3000.00 us\n");
  EXPECT_NE(report.find(thread), std::string::npos) << report;
  EXPECT_EQ(report.substr(report.size() - 2), "\n\n");
}

TEST(Profiler, ThreadTopLinesShareTheirSum) {
  ProfileReset();
  static const char left[] = "share left", right[] = "share right";
  const ProfileNode* root = RootAfter([] {
    {
      const ScopeTimer scope(left);
    }
    {
      const ScopeTimer scope(right);
    }
  });
  SetFigures(Children(root)[0], 1000, 1, 1000, 1000);
  SetFigures(Children(root)[1], 3000, 1, 3000, 3000);
  const std::string report = Written(ProfileReport);
  EXPECT_NE(report.find("total=     3.000 ms (100.00%)"), std::string::npos);  // merged: each its own whole
  EXPECT_NE(report.find("total=     3.000 ms ( 75.00%)"), std::string::npos);
  EXPECT_NE(report.find("total=     1.000 ms ( 25.00%)"), std::string::npos);
}

TEST(Profiler, RootWithoutChildrenIsSkippedButCounted) {
  ProfileReset();
  std::thread([] { RegisterProfileRoot(CurrentThreadGuard()); }).join();
  const std::size_t empty = CopyProfileRoots().size() - 1;
  RootAfter([] { const ScopeTimer scope(kOuter); });
  const std::string report = Written(ProfileReport);
  EXPECT_EQ(Count(report, "-- thread[" + std::to_string(empty) + "]"), 0u);
  EXPECT_EQ(Count(report, "-- thread[" + std::to_string(empty + 1) + "] (worker) --\n"), 1u);
  EXPECT_EQ(Count(report, "(merged across " + std::to_string(empty + 2) + " thread(s))"), 1u);
}

TEST(Profiler, ReportWhileThreadsWork) {
  std::atomic<bool> leave{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i)
    threads.emplace_back([&leave] {
      while (!leave.load()) {
        const ScopeTimer outer(kOuter);
        const ScopeTimer inner(kInner);
      }
    });
  for (int i = 0; i < 20; ++i) EXPECT_GT(Written(ProfileReport).size(), 100u);
  leave.store(true);
  for (auto& thread : threads) thread.join();
}

}  // namespace
}  // namespace tlr2

#endif
