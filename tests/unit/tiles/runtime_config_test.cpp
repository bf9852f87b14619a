// Spellings, messages and fallbacks of the load-time configuration.
#include "tiles/runtime_config.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/topology.h"
#include "scoped_environment.h"
#include "settings/settings.h"
#include "settings/status.h"
#include "tiles/queue/render_job_queue.h"

namespace tlr2 {
namespace {

using test::SetVariable;

std::int32_t Cutoff(const char* text) {
  std::string value = text;
  value.push_back('\0');
  return CutoffOfSpelling(value.data());
}

bool AllSupported(std::int32_t) { return true; }
bool NoneSupported(std::int32_t) { return false; }

struct IsaAnswer {
  std::int32_t selected;
  std::string line;
};
IsaAnswer Isa(const char* text, bool (*supported)(std::int32_t) = AllSupported) {
  char line[192] = "";
  std::string value = text;
  value.push_back('\0');
  const std::int32_t selected = IsaOfSpelling(value.data(), supported, line, sizeof line);
  return {selected, line};
}

TEST(CutoffEnvironment, EverySpellingHasItsStage) {
  const struct {
    std::int32_t stage;
    const char* text;
  } kSpellings[] = {{0, "0"},
                    {0, "command-stream"},
                    {0, "null-command-stream"},
                    {0, "api-null"},
                    {1, "1"},
                    {1, "native"},
                    {1, "packets"},
                    {1, "native-packets"},
                    {2, "2"},
                    {2, "triangles"},
                    {2, "triangle-emit"},
                    {3, "3"},
                    {3, "prep"},
                    {3, "render-prep"},
                    {4, "4"},
                    {4, "bin"},
                    {4, "worker-bin"},
                    {4, "null-raster"},
                    {5, "5"},
                    {5, "full"}};
  for (const auto& spelling : kSpellings) EXPECT_EQ(Cutoff(spelling.text), spelling.stage) << spelling.text;
}

TEST(CutoffEnvironment, LettersAreLoweredAndUnknownValuesPassAsFull) {
  EXPECT_EQ(Cutoff("Null-Raster"), 4);
  EXPECT_EQ(Cutoff("6"), 5);
  EXPECT_EQ(Cutoff("-1"), 5);
  EXPECT_EQ(Cutoff("bins"), 5);
  EXPECT_EQ(Cutoff(""), 5);
  EXPECT_EQ(CutoffOfSpelling(nullptr), 5);
  EXPECT_EQ(Cutoff("prep \n"), 3);
  EXPECT_EQ(Cutoff(" prep"), 5);
}

TEST(CutoffEnvironment, ItOverwritesWhatTheStoreHeld) {
  Settings().pipelineCutoff = 2;
  SetVariable("TLR2_PIPELINE_CUTOFF", "bin");
  ParseCutoffEnvironment();
  EXPECT_EQ(Settings().pipelineCutoff, 4);
  SetVariable("TLR2_PIPELINE_CUTOFF", nullptr);
  ParseCutoffEnvironment();
  EXPECT_EQ(Settings().pipelineCutoff, 5);
  Settings().pipelineCutoff = 1;
  SetVariable("TLR2_PIPELINE_CUTOFF", "null-command-stream-and-far-too-long");  // does not fit its 32 bytes
  ParseCutoffEnvironment();
  EXPECT_EQ(Settings().pipelineCutoff, 5);
  SetVariable("TLR2_PIPELINE_CUTOFF", nullptr);
}

TEST(IsaEnvironment, EverySpellingSelectsAndNamesItsTarget) {
  const struct {
    const char* text;
    std::int32_t selected;
    const char* name;
  } kSpellings[] = {{"sse4", 0, "sse4"}, {"sse4.1", 0, "sse4"}, {"sse41", 0, "sse4"},    {"avx", 1, "avx"},
                    {"avx1", 1, "avx"},  {"avx2", 2, "avx2"},   {"avx512", 3, "avx512"}, {"avx512skx", 3, "avx512"}};
  for (const auto& spelling : kSpellings) {
    const IsaAnswer answer = Isa(spelling.text);
    EXPECT_EQ(answer.selected, spelling.selected) << spelling.text;
    EXPECT_EQ(answer.line, std::string("[TLR2 ISA = ") + spelling.name + " (forced via TLR2_ISA env var)]");
  }
}

TEST(IsaEnvironment, UnsetEmptyAndAutoSayTheSame) {
  const std::string line = "[TLR2 ISA = auto (auto-detected by ISPC)]";
  EXPECT_EQ(Isa("auto").line, line);
  EXPECT_EQ(Isa("AUTO").selected, -1);
  EXPECT_EQ(Isa("").line, line);
  char buffer[192] = "";
  EXPECT_EQ(IsaOfSpelling(nullptr, AllSupported, buffer, sizeof buffer), -1);
  EXPECT_EQ(buffer, line);
}

TEST(IsaEnvironment, CaseAndTrailingBlanksDoNotMatterButALeadingBlankDoes) {
  EXPECT_EQ(Isa("AVX2").selected, 2);
  EXPECT_EQ(Isa("avx2 ").selected, 2);
  EXPECT_EQ(Isa("avx2\n").selected, 2);
  EXPECT_EQ(Isa("avx2\r\n").selected, 2);
  const IsaAnswer leading = Isa(" avx2");
  EXPECT_EQ(leading.selected, -1);
  EXPECT_EQ(leading.line, "[TLR2 ISA = auto (env $TLR2_ISA=\"\" not recognized; falling back to ISPC auto-detect)]");
}

TEST(IsaEnvironment, UnknownAndUnsupportedValuesFallBackWithTheNormalisedText) {
  EXPECT_EQ(Isa("NEON").line,
            "[TLR2 ISA = auto (env $TLR2_ISA=\"neon\" not recognized; falling back to ISPC auto-detect)]");
  const IsaAnswer lacking = Isa("AVX512SKX", NoneSupported);
  EXPECT_EQ(lacking.selected, -1);
  EXPECT_EQ(lacking.line,
            "[TLR2 ISA = auto (env $TLR2_ISA=\"avx512skx\" is not supported by this CPU/OS; falling back to ISPC "
            "auto-detect)]");
}

TEST(IsaEnvironment, ItOverwritesTheForcedWordAndTheLine) {
  Settings().forceIsa = 3;
  SetVariable("TLR2_ISA", nullptr);
  ParseIsaEnvironment();
  EXPECT_EQ(Settings().forceIsa, 0);
  EXPECT_EQ(SelectedIsa(), -1);
  EXPECT_STREQ(isaStatusLine, "[TLR2 ISA = auto (auto-detected by ISPC)]");
  SetVariable("TLR2_ISA", "sse4.1");
  ParseIsaEnvironment();
  EXPECT_EQ(Settings().forceIsa, 1);
  EXPECT_EQ(SelectedIsa(), 0);
  EXPECT_STREQ(isaStatusLine, "[TLR2 ISA = sse4 (forced via TLR2_ISA env var)]");
  SetVariable("TLR2_ISA", "sse4-and-too-long");  // 17 characters do not fit 16 bytes: unset
  ParseIsaEnvironment();
  EXPECT_STREQ(isaStatusLine, "[TLR2 ISA = auto (auto-detected by ISPC)]");
  SetVariable("TLR2_ISA", nullptr);
  ParseIsaEnvironment();
}

constexpr std::uint32_t kSse41 = 1u << 19, kOsxsave = 1u << 27, kAvx = 1u << 28, kAvx2 = 1u << 5;
constexpr std::uint32_t kAvx512Parts[] = {1u << 16, 1u << 17, 1u << 28, 1u << 30, 1u << 31};

CpuFacts FullProcessor() {
  CpuFacts facts = {};
  facts.leaf1Ecx = kSse41 | kOsxsave | kAvx;
  facts.leaf7Ebx = kAvx2;
  for (const std::uint32_t part : kAvx512Parts) facts.leaf7Ebx |= part;
  facts.xcr0 = 0xE7;
  return facts;
}

TEST(IsaSupport, EachTargetNeedsItsBitsAndNoMore) {
  const CpuFacts none = {};
  EXPECT_TRUE(IsaSupportedBy(none, -1));
  for (std::int32_t selected = 0; selected <= 3; ++selected) {
    EXPECT_FALSE(IsaSupportedBy(none, selected));
    EXPECT_TRUE(IsaSupportedBy(FullProcessor(), selected));
  }
  EXPECT_FALSE(IsaSupportedBy(FullProcessor(), 4));
  EXPECT_FALSE(IsaSupportedBy(FullProcessor(), -2));

  CpuFacts facts = {};
  facts.leaf1Ecx = kSse41;
  EXPECT_TRUE(IsaSupportedBy(facts, 0));
  facts.leaf1Ecx = kAvx | kOsxsave;
  facts.xcr0 = 6;
  EXPECT_FALSE(IsaSupportedBy(facts, 0));
  EXPECT_TRUE(IsaSupportedBy(facts, 1));
  EXPECT_FALSE(IsaSupportedBy(facts, 2));
  facts.xcr0 = 2;
  EXPECT_FALSE(IsaSupportedBy(facts, 1));
  facts.xcr0 = 6;
  facts.leaf1Ecx = kAvx;
  EXPECT_FALSE(IsaSupportedBy(facts, 1));
  facts.leaf1Ecx = kAvx | kOsxsave;
  facts.leaf7Ebx = kAvx2;
  EXPECT_TRUE(IsaSupportedBy(facts, 2));
  EXPECT_FALSE(IsaSupportedBy(facts, 3));
}

TEST(IsaSupport, TheWidestTargetNeedsEveryPartAndItsSavedState) {
  for (const std::uint32_t part : kAvx512Parts) {
    CpuFacts facts = FullProcessor();
    facts.leaf7Ebx &= ~part;
    EXPECT_FALSE(IsaSupportedBy(facts, 3)) << std::hex << part;
    EXPECT_TRUE(IsaSupportedBy(facts, 2));
  }
  CpuFacts facts = FullProcessor();
  facts.leaf7Ebx &= ~kAvx2;  // not asked for
  EXPECT_TRUE(IsaSupportedBy(facts, 3));
  for (const std::uint64_t bit : {0x20, 0x40, 0x80}) {
    facts = FullProcessor();
    facts.xcr0 &= ~bit;
    EXPECT_FALSE(IsaSupportedBy(facts, 3));
  }
}

TEST(IsaSupport, TheForcedWordMapsToASupportedTargetOrAuto) {
  EXPECT_EQ(ResolveForcedIsa(0), -1);
  EXPECT_EQ(ResolveForcedIsa(5), -1);
  EXPECT_EQ(ResolveForcedIsa(-7), -1);
  for (std::int32_t word = 1; word <= 4; ++word)
    EXPECT_EQ(ResolveForcedIsa(word), IsaSupported(word - 1) ? word - 1 : -1);
}

TEST(ThreadsEnvironment, OnlyAPositiveNumberForces) {
  EXPECT_EQ(ForcedThreads("0"), 0);
  EXPECT_EQ(ForcedThreads("-3"), 0);
  EXPECT_EQ(ForcedThreads("abc"), 0);
  EXPECT_EQ(ForcedThreads("12"), 12);
  EXPECT_EQ(ForcedThreads("7abc"), 7);
  EXPECT_EQ(ForcedThreads("999999999999999"), 2147483647);
}

std::string Tail() {
  const GroupList list = ListGroups(ActiveGroupCount(), ActiveProcessorCount);
  return " | Windows: " + std::to_string(list.processors) + " LPs / " + std::to_string(ActiveGroupCount()) +
         " groups (" + list.text + ")]";
}

TEST(ThreadsEnvironment, GroupsAreListedInOrderUpToTheSixteenth) {
  const auto none = ListGroups(0, [](std::uint16_t) { return 7u; });
  EXPECT_STREQ(none.text, "");
  EXPECT_EQ(none.processors, 0u);
  const auto three = ListGroups(3, [](std::uint16_t group) { return group == 2 ? 32u : 64u - group; });
  EXPECT_STREQ(three.text, "64,63,32");
  EXPECT_EQ(three.processors, 159u);
  const auto many = ListGroups(20, [](std::uint16_t group) { return 10u + group; });
  EXPECT_STREQ(many.text, "10,11,12,13,14,15,16,17,18,19,20,21,22,23,24,25");
  EXPECT_EQ(many.processors, 280u);
  const auto wide = ListGroups(16, [](std::uint16_t) { return 4000000000u; });
  EXPECT_EQ(std::strlen(wide.text), 95u);
}

TEST(ThreadsEnvironment, WhereNoPoolStartsTheLineTellsTheCapAlone) {
  RJQ::StopPool();
  ASSERT_TRUE(RJQ::StartPool(64, 1));  // a second one does not start
  SetVariable("TLR2_THREADS", "3");
  StartWorkerPool();
  EXPECT_STREQ(threadsStatusLine, "[TLR2 threads = 3 (forced via TLR2_THREADS env var)]");
  SetVariable("TLR2_THREADS", "0000000000000003");  // sixteen characters do not fit: unset
  StartWorkerPool();
  EXPECT_EQ(threadsStatusLine, "[TLR2 threads = default cap " + std::to_string(DefaultThreads(ActiveProcessorCount())) +
                                   " (LPs minus producer)]");
  RJQ::StopPool();
  SetVariable("TLR2_THREADS", nullptr);
}

TEST(ThreadsEnvironment, TheCapIsNoDemand) {
  RJQ::StopPool();
  SetVariable("TLR2_THREADS", "1000");
  StartWorkerPool();
  ASSERT_NE(RJQ::Pool(), nullptr);
  EXPECT_EQ(RJQ::WorkerCount(RJQ::Pool()), static_cast<std::int32_t>(ActiveProcessorCount()));
  EXPECT_EQ(threadsStatusLine, "[TLR2 threads = " + std::to_string(ActiveProcessorCount()) +
                                   " workers (capped via TLR2_THREADS=1000)" + Tail());
  RJQ::StopPool();
  SetVariable("TLR2_THREADS", nullptr);
}

TEST(ThreadsEnvironment, TheDefaultLeavesAProcessorToTheRendererButNeedsOneWorker) {
  EXPECT_EQ(DefaultThreads(0), 1);
  EXPECT_EQ(DefaultThreads(1), 1);
  EXPECT_EQ(DefaultThreads(2), 1);
  EXPECT_EQ(DefaultThreads(3), 2);
  EXPECT_EQ(DefaultThreads(256), 255);
}

TEST(ThreadsEnvironment, BadValuesGiveTheDefault) {
  const std::int32_t cap = DefaultThreads(ActiveProcessorCount());
  for (const char* value : {"0", "-3", "abc", ""}) {
    RJQ::StopPool();
    SetVariable("TLR2_THREADS", value);
    StartWorkerPool();
    ASSERT_NE(RJQ::Pool(), nullptr);
    EXPECT_EQ(threadsStatusLine, "[TLR2 threads = " + std::to_string(cap) +
                                     " workers (default, LPs minus producer; cap=" + std::to_string(cap) + ")" +
                                     Tail());
  }
  RJQ::StopPool();
  SetVariable("TLR2_THREADS", nullptr);
}

}  // namespace
}  // namespace tlr2
