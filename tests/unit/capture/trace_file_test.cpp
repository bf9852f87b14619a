// The trace file: its head, its lines, its end, and what a crash leaves.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <thread>
#include <vector>

#include "capture/trace.h"
#include "capture_fixture.h"
#include "settings/status.h"

namespace tlr2 {
namespace {

using TraceFile = Diagnostics;

constexpr char kEnd[] = "=== end of trace ===\n";

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

/// The number behind "[seq=".
unsigned long long SequenceOf(const std::string& line) {
  const std::size_t at = line.find("[seq=");
  return at == std::string::npos ? 0 : std::strtoull(line.c_str() + at + 5, nullptr, 10);
}

TEST_F(TraceFile, TheFirstLineOfAProcessHasSequenceNumberOne) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        OpenTrace(0, 0, "env", false);
        glBegin(gl::kTriangles);
        wglGetProcAddress("glBegin");
        EndTrace();
        const bool right = BytesOf("TLR2_trace_frame0.tlr2-trace") ==
                           "=== TLR2 trace (env, frames 0..0 inclusive) ===\n"
                           "[frame=0][seq=     1] TLR2::GL::Begin                      (mode=0x0004)\n"
                           "[frame=0][seq=     2] TLR2::WGL::GetProcAddress            (name=\"glBegin\")\n"
                           "=== end of trace ===\n";
        folder.reset();
        std::_Exit(right ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(TraceFile, TheHeadNamesSourceRangeAndTheChosenTarget) {
  OpenTrace(3, 5, "UI", false);
  EndTrace();
  EXPECT_EQ(BytesOf("TLR2_trace_frames3-5.tlr2-trace"),
            std::string("=== TLR2 trace (UI, frames 3..5 inclusive) ===\n") + kEnd);
  const std::string before = isaStatusLine;
  std::snprintf(isaStatusLine, sizeof isaStatusLine, "[a target]");
  OpenTrace(6, 7, "env", false);
  EndTrace();
  std::snprintf(isaStatusLine, sizeof isaStatusLine, "%s", before.c_str());
  EXPECT_EQ(BytesOf("TLR2_trace_frames6-7.tlr2-trace"),
            std::string("=== TLR2 trace (env, frames 6..7 inclusive) ===\n[a target]\n") + kEnd);
}

TEST_F(TraceFile, RangesThatCannotBeOpenNothing) {
  OpenTrace(-1, 5, "UI", true);
  OpenTrace(5, 4, "UI", true);
  EXPECT_FALSE(TraceOpen());
  EXPECT_EQ(traceFirstFrame.load(), -1);
  EXPECT_TRUE(FolderIsEmpty());
}

TEST_F(TraceFile, AFileThatCannotBeMadeChangesNothing) {
  std::filesystem::create_directory("TLR2_trace_frame4.tlr2-trace");
  OpenTrace(4, 4, "UI", true);
  EXPECT_FALSE(TraceOpen());
  EXPECT_EQ(traceFirstFrame.load(), -1);
  EXPECT_EQ(traceLastFrame.load(), -1);
  EXPECT_FALSE(TakeTraceQuit());
}

TEST_F(TraceFile, CallsOfFramesOutsideTheRangeLeaveNoLine) {
  OpenTrace(1, 2, "UI", false);
  for (std::int32_t frame = 0; frame < 5; ++frame) {
    currentFrame = frame;
    TraceCall("A", "(%d)", static_cast<int>(frame));
  }
  EndTrace();
  const std::vector<std::string> lines = LinesOf(BytesOf("TLR2_trace_frames1-2.tlr2-trace"));
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[1].rfind("[frame=1][seq=", 0), 0u);
  EXPECT_EQ(lines[2].rfind("[frame=2][seq=", 0), 0u);
  EXPECT_EQ(SequenceOf(lines[2]), SequenceOf(lines[1]) + 1);  // an untraced call takes no number
}

TEST_F(TraceFile, ArgumentsAreCutAtTheirBufferAndTheLineIsWhole) {
  OpenTrace(0, 0, "UI", false);
  wglGetProcAddress(std::string(2000, 'x').c_str());
  EndTrace();
  const std::vector<std::string> lines = LinesOf(BytesOf("TLR2_trace_frame0.tlr2-trace"));
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[1].substr(lines[1].find('(')), "(name=\"" + std::string(511 - 7, 'x'));
}

TEST_F(TraceFile, ManyLinesArriveInOrderAcrossBlocks) {
  constexpr int kCalls = 12000;  // about 800 KB, three blocks and a rest
  OpenTrace(0, 0, "UI", false);
  for (int i = 0; i < kCalls; ++i) glFogi(0x0B62, i);
  EXPECT_LT(BytesOf("TLR2_trace_frame0.tlr2-trace").size(), 100u) << "the stream holds more than these lines back";
  EndTrace();
  const std::vector<std::string> lines = LinesOf(BytesOf("TLR2_trace_frame0.tlr2-trace"));
  ASSERT_EQ(lines.size(), kCalls + 2u);
  for (int i = 0; i < kCalls; ++i) {
    const std::string& line = lines[static_cast<std::size_t>(i) + 1];
    ASSERT_EQ(line.substr(line.find('(')), "(pname=0x0B62, param=" + std::to_string(i) + ")");
    ASSERT_EQ(SequenceOf(line), SequenceOf(lines[1]) + static_cast<unsigned>(i));
  }
}

TEST_F(TraceFile, EveryCallOfEveryThreadHasItsOwnNumber) {
  constexpr int kThreads = 4, kCalls = 500;
  OpenTrace(0, 0, "UI", false);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([] {
      for (int i = 0; i < kCalls; ++i) glFlush();
    });
  for (std::thread& thread : threads) thread.join();
  EndTrace();
  const std::vector<std::string> lines = LinesOf(BytesOf("TLR2_trace_frame0.tlr2-trace"));
  ASSERT_EQ(lines.size(), kThreads * kCalls + 2u);
  std::vector<unsigned long long> numbers;
  for (std::size_t i = 1; i + 1 < lines.size(); ++i) numbers.push_back(SequenceOf(lines[i]));
  std::sort(numbers.begin(), numbers.end());
  for (std::size_t i = 1; i < numbers.size(); ++i) ASSERT_EQ(numbers[i], numbers[i - 1] + 1);
}

TEST_F(TraceFile, ACrashLeavesThePendingLinesAndItsMarkInAnOpenFile) {
  OpenTrace(0, 0, "UI", false);
  glFinish();
  TraceCrashMarker();
  const std::vector<std::string> lines = LinesOf(BytesOf("TLR2_trace_frame0.tlr2-trace"));
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_NE(lines[1].find("TLR2::GL::Finish"), std::string::npos);
  EXPECT_EQ(lines[2], "");
  EXPECT_EQ(lines[3], "=== CRASH (vectored handler triggered) ===");
  EXPECT_TRUE(TraceOpen());
}

TEST_F(TraceFile, TheTickPastTheLastFrameEndsTheTraceAndAnotherMayFollow) {
  OpenTrace(0, 1, "env", true);
  TickInto(1);
  EXPECT_TRUE(TraceOpen());
  glFlush();
  TickInto(2);
  EXPECT_FALSE(TraceOpen());
  EXPECT_EQ(traceFirstFrame.load(), -1);
  EXPECT_EQ(traceLastFrame.load(), -1);
  EXPECT_FALSE(TakeTraceQuit());  // the tick has taken it
  const std::string text = BytesOf("TLR2_trace_frames0-1.tlr2-trace");
  EXPECT_EQ(LinesOf(text).size(), 3u);
  EXPECT_EQ(text.substr(text.size() - (sizeof kEnd - 1)), kEnd);
  OpenTrace(2, 2, "UI", false);
  EndTrace();
  EXPECT_EQ(LinesOf(BytesOf("TLR2_trace_frame2.tlr2-trace")).size(), 2u);
}

TEST_F(TraceFile, WithoutAFileARangeAloneTracesNothing) {
  traceFirstFrame = 0;
  traceLastFrame = 5;
  glFlush();
  EXPECT_TRUE(FolderIsEmpty());
}

}  // namespace
}  // namespace tlr2
