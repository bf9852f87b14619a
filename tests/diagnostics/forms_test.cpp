// The tool's forms of what the driver leaves: trace files summed up, profiles as trace events and folded stacks.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "golden_text.h"
#include "tlr2_replay/profile_forms.h"
#include "tlr2_replay/trace_summary.h"

namespace tlr2::tool {
namespace {

constexpr char kHead[] = "=== TLR2 trace (env, frames 3..4 inclusive) ===\n";

TraceSummary SummaryOf(const std::string& text) {
  std::istringstream in(text);
  TraceSummary summary;
  EXPECT_TRUE(SummariseTrace(in, summary));
  return summary;
}

TEST(TraceSummary, CountsCallsByEntryAndFrame) {
  const TraceSummary summary = SummaryOf(std::string(kHead) +
                                         "[a target]\n"
                                         "[frame=3][seq=     7] TLR2::GL::Begin                      (mode=0x0004)\n"
                                         "[frame=3][seq=     8] TLR2::GL::End                        ()\n"
                                         "[frame=4][seq=    10] TLR2::GL::Begin                      (mode=0x0004)\n"
                                         "=== end of trace ===\n");
  EXPECT_EQ(summary.source, "env");
  EXPECT_EQ(summary.first, 3);
  EXPECT_EQ(summary.last, 4);
  EXPECT_EQ(summary.target, "[a target]");
  EXPECT_EQ(summary.end, TraceEnd::kEnded);
  EXPECT_EQ(summary.lines, 3u);
  EXPECT_EQ(summary.otherLines, 0u);
  EXPECT_EQ(summary.MissingNumbers(), 1u);
  ASSERT_EQ(summary.frames.size(), 2u);
  EXPECT_EQ(summary.frames.at(3).at("TLR2::GL::Begin"), 1u);
  EXPECT_EQ(summary.frames.at(3).at("TLR2::GL::End"), 1u);
  EXPECT_EQ(summary.frames.at(4).size(), 1u);
}

TEST(TraceSummary, KnowsACrashFromACut) {
  const std::string call = "[frame=3][seq=     1] TLR2::GL::End                        ()\n";
  EXPECT_EQ(SummaryOf(kHead + call + "\n=== CRASH (vectored handler triggered) ===\n").end, TraceEnd::kCrashed);
  EXPECT_EQ(SummaryOf(kHead + call).end, TraceEnd::kCut);
  const TraceSummary cut = SummaryOf(kHead + call + "[frame=3][se");
  EXPECT_EQ(cut.end, TraceEnd::kCut);
  EXPECT_EQ(cut.lines, 1u);
  EXPECT_EQ(cut.otherLines, 1u);
  EXPECT_EQ(SummaryOf(kHead).MissingNumbers(), 0u);
}

TEST(TraceSummary, TheLastMarkDecidesHowATraceEnded) {
  const std::string call = "[frame=3][seq=     1] TLR2::GL::End                        ()\n";
  const std::string crash = "\n=== CRASH (vectored handler triggered) ===\n", end = "=== end of trace ===\n";
  EXPECT_EQ(SummaryOf(kHead + call + crash + end).end, TraceEnd::kEnded) << "a fault that the program handled";
  EXPECT_EQ(SummaryOf(kHead + call + crash + call + crash + end).end, TraceEnd::kEnded);
  EXPECT_EQ(SummaryOf(kHead + call + crash + call).end, TraceEnd::kCrashed);
  EXPECT_EQ(SummaryOf(kHead + call + end + crash).end, TraceEnd::kCrashed);
  EXPECT_STREQ(NameOf(TraceEnd::kEnded), "ended");
  EXPECT_STREQ(NameOf(TraceEnd::kCrashed), "crashed");
  EXPECT_STREQ(NameOf(TraceEnd::kCut), "cut");
}

TEST(TraceSummary, MessagesOfTheDriverAreNoCalls) {
  const TraceSummary summary =
      SummaryOf(std::string(kHead) +
                "[frame=3][seq=     4] TLR2::DxgiPresent::Init              (step=CreateSwapChain, hr=0x80004005)\n"
                "[frame=3][seq=     5] TLR2::GL::Begin                      (mode=0x0004)\n"
                "[frame=3][seq=     6] TLR2::DxgiPresent::PresentSwapChain  (Present hr=0x80004005)\n"
                "[frame=3][seq=     7] TLR2::WGL::SwapBuffers               (hdc=0x1)\n"
                "[frame=4][seq=     9] TLR2::DxgiPresent::PresentSwapChain  (Present hr=0x80004005)\n"
                "=== end of trace ===\n");
  EXPECT_EQ(summary.lines, 2u);
  EXPECT_EQ(summary.messageLines, 3u);
  EXPECT_EQ(summary.otherLines, 0u);
  EXPECT_EQ(summary.MissingNumbers(), 1u) << "messages are numbered with the calls";
  ASSERT_EQ(summary.frames.size(), 1u);
  EXPECT_EQ(summary.frames.at(3).size(), 2u);
  ASSERT_EQ(summary.messages.size(), 2u);
  EXPECT_EQ(summary.messages.at("TLR2::DxgiPresent::PresentSwapChain"), 2u);
  EXPECT_EQ(summary.messages.at("TLR2::DxgiPresent::Init"), 1u);
}

TEST(TraceSummary, RefusesWhatDoesNotBeginAsATrace) {
  TraceSummary summary;
  for (const char* const text : {"", "\n", "TLR2", "=== TLR2 trace (env, frames 3..4)\n", "[frame=0][seq=1] a ()\n"}) {
    std::istringstream in(text);
    EXPECT_FALSE(SummariseTrace(in, summary)) << text;
  }
}

TEST(TraceSummary, ReadsTheDriversOwnTraceOfAllEntries) {
  const TraceSummary summary = SummaryOf(test::FileBytes(std::string(TLR2_GOLDEN_TEXTS) + "/trace.txt"));
  EXPECT_EQ(summary.end, TraceEnd::kEnded);
  EXPECT_EQ(summary.otherLines, 0u);
  EXPECT_EQ(summary.MissingNumbers(), 0u);
  std::map<std::string, std::uint64_t> all;
  for (const auto& [frame, counts] : summary.frames)
    for (const auto& [name, calls] : counts) all[name] += calls;
  EXPECT_EQ(all.size(), 363u);
  EXPECT_EQ(all["TLR2::GL::TexEnvf"], 1u);
  EXPECT_EQ(all["TLR2::GL::TexEnvi"], 3u);  // its own, and those of two that forward to it
}

/// outer 100 ticks in 2 calls, in it inner 30; beside it other, 5. A tick is a millisecond.
ProfileSummary Tree() {
  ProfileSummary root{"<all threads>"}, outer{"outer"}, inner{"inner"}, other{"other"};
  outer.totalTicks = 100;
  outer.calls = 2;
  outer.minTicks = 40;
  outer.maxTicks = 60;
  inner.totalTicks = 30;
  inner.calls = 3;
  inner.minTicks = inner.maxTicks = 10;
  other.totalTicks = 5;
  other.calls = 1;
  other.minTicks = other.maxTicks = 5;
  outer.children.push_back(inner);
  root.children = {other, outer};
  return root;
}

TEST(ProfileForms, FoldedStacksHoldEachScopesOwnNanoseconds) {
  EXPECT_EQ(FoldedStacks(Tree(), 1000), "outer 70000000\nouter;inner 30000000\nother 5000000\n");
}

TEST(ProfileForms, AnInnerScopeMeasuredLongerLeavesNoNegativeTime) {
  ProfileSummary tree = Tree();
  tree.children[1].children[0].totalTicks = 101;
  EXPECT_EQ(FoldedStacks(tree, 1000), "outer 0\nouter;inner 101000000\nother 5000000\n");
}

TEST(ProfileForms, TraceEventsLieInsideTheirParents) {
  const nlohmann::json json = nlohmann::json::parse(ChromeTrace(Tree(), 1000));
  std::map<std::string, nlohmann::json> events;
  for (const nlohmann::json& event : json["traceEvents"])
    if (event["ph"] == "X") events[event["name"]] = event;
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events["outer"]["ts"], 0.0);
  EXPECT_EQ(events["outer"]["dur"], 100000.0);
  EXPECT_EQ(events["inner"]["ts"], 0.0);
  EXPECT_EQ(events["inner"]["dur"], 30000.0);
  EXPECT_EQ(events["other"]["ts"], 100000.0);
  EXPECT_EQ(events["outer"]["args"]["calls"], 2);
  EXPECT_EQ(events["outer"]["args"]["meanUs"], 50000.0);
  EXPECT_EQ(events["outer"]["args"]["minUs"], 40000.0);
  EXPECT_EQ(events["outer"]["args"]["maxUs"], 60000.0);
}

}  // namespace
}  // namespace tlr2::tool
