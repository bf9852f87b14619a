// The call summary: counts, the drift scan, the reports behind them, and when it is written.
#include "capture/call_summary.h"

#include <cstdio>
#include <cstring>
#include <set>
#include <sstream>
#include <vector>

#include "capture_fixture.h"
#include "settings/status.h"

namespace tlr2 {
namespace {

constexpr char kSummary[] = "TLR2_api_calls.log";
constexpr char kClean[] = "\n=== capture-drift scan: clean (every called GL entry is round-trippable) ===\n";

class CallSummary : public Diagnostics {
 protected:
  void SetUp() override {
    Diagnostics::SetUp();
    for (Counter64& counter : CallCounters) counter = 0;
  }
  static void Count(Entry entry, std::uint64_t calls) { CallCounters[static_cast<int>(entry)] = calls; }
  /// The text of the drift scan, up to the reports.
  static std::string DriftOf(const std::string& text) {
    const std::size_t begin = text.find("\n=== capture-drift");
    if (begin == std::string::npos) return "";
    const std::size_t discovery = text.find("\n=== Phase Q", begin), occupancy = text.find("\n=== Occupancy", begin);
    return text.substr(begin, std::min(discovery, occupancy) - begin);
  }
};

TEST_F(CallSummary, HeadAndRowsAreTheseTexts) {
  Count(Entry::glBegin, 3);
  Count(Entry::glVertex3f, 9);
  Count(Entry::wglSwapLayerBuffers, 10000000000ull);
  WriteCallSummary();
  const std::string text = BytesOf(kSummary);
  std::string head = "=== TLR2 GL/WGL call summary (process lifetime) ===\n";
  if (isaStatusLine[0] != '\0') head += std::string(isaStatusLine) + "\n";
  head += std::string(threadsStatusLine) + "\n" + framebufferStatusLine + "\n\n";
  head +=
      "Total API calls: 10000000012  (across 3/363 functions)\n\n"
      "    wglSwapLayerBuffers              :    10000000000\n"
      "    glVertex3f                       :              9\n"
      "    glBegin                          :              3\n";
  ASSERT_EQ(text.substr(0, head.size()), head);
  // The other 360, in any order.
  std::istringstream rest(text.substr(head.size()));
  std::set<std::string> found, expected;
  for (const char* const name : EntryNames) {
    char line[128];
    std::snprintf(line, sizeof line, "    %-32s : %14d    [unimplemented, never called]", name, 0);
    expected.insert(line);
  }
  for (const char* const called : {"glBegin", "glVertex3f", "wglSwapLayerBuffers"})
    std::erase_if(expected, [called](const std::string& line) { return line.find(std::string(called) + " ") == 4; });
  ASSERT_EQ(expected.size(), 360u);
  std::string line;
  for (int i = 0; i < 360; ++i) {
    std::getline(rest, line);
    found.insert(line);
  }
  EXPECT_EQ(found, expected);
  EXPECT_EQ(text.substr(head.size() + static_cast<std::size_t>(rest.tellg()), sizeof kClean - 1), kClean);
}

TEST_F(CallSummary, TheChosenTargetStandsAheadOfTheThreads) {
  const std::string before = isaStatusLine;
  std::snprintf(isaStatusLine, sizeof isaStatusLine, "[a target]");
  WriteCallSummary();
  std::snprintf(isaStatusLine, sizeof isaStatusLine, "%s", before.c_str());
  const std::string head = std::string("=== TLR2 GL/WGL call summary (process lifetime) ===\n[a target]\n") +
                           threadsStatusLine + "\n" + framebufferStatusLine + "\n\nTotal API calls: 0  (across 0/363 ";
  EXPECT_EQ(BytesOf(kSummary).substr(0, head.size()), head);
}

TEST_F(CallSummary, RowsStandByTheirCountsGreatestFirst) {
  for (int i = 0; i < kEntryCount; ++i) CallCounters[i] = static_cast<std::uint64_t>((i * 7919) % 401);
  WriteCallSummary();
  std::istringstream in(BytesOf(kSummary));
  unsigned long long previous = ~0ull;
  int rows = 0;
  for (std::string line; std::getline(in, line) && rows < kEntryCount;) {
    char name[64];
    unsigned long long count = 0;
    if (std::sscanf(line.c_str(), "    %63s : %llu", name, &count) != 2) continue;
    EXPECT_LE(count, previous);
    previous = count;
    ++rows;
  }
  EXPECT_EQ(rows, kEntryCount);
}

TEST_F(CallSummary, APlainProgramsScanIsClean) {
  glBegin(gl::kTriangles);
  glVertex3f(1, 2, 3);
  glEnd();
  WriteCallSummary();
  EXPECT_EQ(DriftOf(BytesOf(kSummary)), kClean);
}

TEST_F(CallSummary, CallsThatACaptureCannotReplayAreNamedInTheirOrder) {
  glFogf(0x0B62, 0.5f);
  glFogf(0x0B62, 0.5f);
  glTexEnvf(gl::kTextureEnv, gl::kTextureEnvMode, 8448.0f);
  WriteCallSummary();
  EXPECT_EQ(DriftOf(BytesOf(kSummary)),
            "\n=== capture-drift scan: 2 GL entries called but not in Cmd enum ===\n"
            "(replay of a .tlr2-capture taken during this run will diverge on these calls)\n\n"
            "    [capture-drift] glFogf                       :              2\n"
            "    [capture-drift] glTexEnvf                    :              1\n");
}

TEST_F(CallSummary, TheWindowSystemsEntriesNeverDrift) {
  for (int i = 0; i < 500; ++i) wglGetProcAddress("glFogf");
  for (int i = 0; i < kEntryCount; ++i)
    if (EntryNames[i][0] == 'w') CallCounters[i].fetch_add(1);
  WriteCallSummary();
  EXPECT_EQ(DriftOf(BytesOf(kSummary)), kClean);
}

// An entry with a body of its own is recorded, but for three queries and the three that forward to another entry.
TEST_F(CallSummary, FiftyFiveEntriesRoundTrip) {
  const std::set<std::string> others = {"glGetFloatv", "glIsEnabled", "glIsTexture",
                                        "glTexEnvf",   "glTexEnviv",  "glTexParameterf"};
  int count = 0;
  for (const EntryRow& row : kEntryTable) {
    const bool expected = row.body == EntryBody::kOwn && row.name[0] == 'g' && !others.contains(row.name);
    EXPECT_EQ(IsRoundTrippable(row.name), expected) << row.name;
    count += expected ? 1 : 0;
  }
  EXPECT_EQ(count, 55);
  EXPECT_FALSE(IsRoundTrippable("glVertex3fvx"));
  EXPECT_FALSE(IsRoundTrippable(""));
}

TEST_F(CallSummary, TheReportsFollowInTheirOrder) {
  WriteCallSummary();
  const std::string text = BytesOf(kSummary);
  const std::size_t drift = text.find("=== capture-drift"), occupancy = text.find("=== Occupancy"),
                    profile = text.find("=== TLR2 scoped profile");
  ASSERT_NE(occupancy, std::string::npos);
  EXPECT_EQ(profile != std::string::npos, TLR2_PROFILING != 0);
  EXPECT_LT(drift, occupancy);
  EXPECT_LT(occupancy, profile);  // a build without the profiler has no such report: past every place
  if (const std::size_t discovery = text.find("=== Phase Q"); discovery != std::string::npos) {
    EXPECT_LT(drift, discovery);
    EXPECT_LT(discovery, occupancy);
  }
}

TEST_F(CallSummary, TheWholeFileIsRewritten) {
  glFlush();
  WriteCallSummary();
  const std::size_t longer = BytesOf(kSummary).size();
  CallCounters[static_cast<int>(Entry::glFlush)] = 0;
  WriteCallSummary();
  EXPECT_LT(BytesOf(kSummary).size(), longer);
}

TEST_F(CallSummary, ItIsWrittenAtEachSixtiethFrameAlone) {
  EXPECT_EQ(BytesOf(kSummary), kNoFile);
  currentFrame = 58;
  wglSwapBuffers(nullptr);
  EXPECT_EQ(BytesOf(kSummary), kNoFile);
  wglSwapBuffers(nullptr);
  EXPECT_NE(BytesOf(kSummary), kNoFile);
  std::filesystem::remove(kSummary);
  wglSwapBuffers(nullptr);
  EXPECT_EQ(BytesOf(kSummary), kNoFile);
  currentFrame = 119;
  wglSwapBuffers(nullptr);
  EXPECT_NE(BytesOf(kSummary), kNoFile);
}

TEST_F(CallSummary, ItIsWrittenForTheFirstTimeWhenTheFrameNumberReachesSixty) {
  currentFrame = 0;
  for (int frame = 1; frame < 60; ++frame) {
    wglSwapBuffers(nullptr);
    ASSERT_EQ(BytesOf(kSummary), kNoFile) << "frame " << frame;
  }
  wglSwapBuffers(nullptr);
  EXPECT_EQ(currentFrame.load(), 60);
  // That of this swap too: a call is counted before it does its work.
  EXPECT_NE(BytesOf(kSummary).find("\n    wglSwapBuffers                   :             60\n"), std::string::npos);
}

TEST_F(CallSummary, WhereNoFileCanBeMadeNothingHappens) {
  std::filesystem::create_directory(kSummary);
  WriteCallSummary();
  EXPECT_TRUE(std::filesystem::is_directory(kSummary));
}

}  // namespace
}  // namespace tlr2
