// Which frames are captured and traced: ranges from the environment, the hotkey and the request words.
#include <cstdlib>
#include <string>

#include "capture/frame_range.h"
#include "capture_fixture.h"
#include "scoped_environment.h"

namespace tlr2 {
namespace {

using Selection = Diagnostics;

constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();

/// "first-last", or "none".
std::string Parsed(const char* text) {
  std::int32_t first = 77, last = 77;
  if (!ParseFrameRange(text, first, last)) return "none";
  return std::to_string(first) + "-" + std::to_string(last);
}

std::string CaptureRange() {
  if (captureFirstFrame.load() < 0) return "none";
  return std::to_string(captureFirstFrame.load()) + "-" + std::to_string(captureLastFrame.load());
}
std::string TraceRange() {
  if (traceFirstFrame.load() < 0) return "none";
  return std::to_string(traceFirstFrame.load()) + "-" + std::to_string(traceLastFrame.load());
}

TEST_F(Selection, ARangeIsOneFrameOrTwoAroundAMinusSign) {
  EXPECT_EQ(Parsed("10"), "10-10");
  EXPECT_EQ(Parsed("10-12"), "10-12");
  EXPECT_EQ(Parsed("10-10"), "10-10");
  EXPECT_EQ(Parsed("0"), "0-0");
  EXPECT_EQ(Parsed(" 3 - 5 "), "3-5");
  EXPECT_EQ(Parsed("3x-5y"), "3-5");
  EXPECT_EQ(Parsed("3-5-9"), "3-5");
}

TEST_F(Selection, ARangeBackwardsOrBelowZeroIsNone) {
  EXPECT_EQ(Parsed("12-10"), "none");
  EXPECT_EQ(Parsed("-5"), "none");
  EXPECT_EQ(Parsed("3--5"), "none");
  EXPECT_EQ(Parsed("7-"), "none");
}

TEST_F(Selection, ATextWithoutDigitsMeansFrameZero) {
  EXPECT_EQ(Parsed("abc"), "0-0");
  EXPECT_EQ(Parsed("a-b"), "0-0");
  EXPECT_EQ(Parsed("frames-4"), "0-4");
}

TEST_F(Selection, ImpossibleCaptureRangesAreIgnored) {
  SetCaptureRange(-1, 3, "test", true);
  SetCaptureRange(4, 3, "test", true);
  EXPECT_EQ(CaptureRange(), "none");
}

TEST_F(Selection, ARangeFromTheEnvironmentEndsTheProcessAfterItsLastFrame) {
  SetCaptureRange(10, 10, "env", true);
  EXPECT_FALSE(FinishCaptureRange(10));
  EXPECT_EQ(CaptureRange(), "10-10");
  EXPECT_TRUE(FinishCaptureRange(11));
  EXPECT_EQ(CaptureRange(), "none");
  EXPECT_FALSE(FinishCaptureRange(12));
}

TEST_F(Selection, TheTickPastARangeFromTheEnvironmentEndsTheApplicationOnce) {
  quitsPosted = 0;
  SetCaptureRange(10, 10, "env", true);
  OpenTrace(10, 12, "env", true);
  TickInto(10);
  EXPECT_EQ(quitsPosted, 0);
  TickInto(11);
  EXPECT_EQ(quitsPosted, 1);
  TickInto(12);
  EXPECT_EQ(quitsPosted, 1);
  TickInto(13);
  EXPECT_EQ(quitsPosted, 2) << "the trace's own";
  captureRequested = 1;
  traceRequested = 1;
  for (std::int32_t frame = 14; frame < 30; ++frame) TickInto(frame);
  EXPECT_EQ(CaptureRange(), "none");
  EXPECT_EQ(quitsPosted, 2) << "ranges that the user asked for end nothing";
}

// Each in a process of its own: the environment is read once.

TEST_F(Selection, TheEnvironmentSelectsBothRanges) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        test::SetVariable("TLR2_CAPTURE_FRAMES", "10-12");
        test::SetVariable("TLR2_TRACE_FRAMES", "7");
        test::SetVariable("TLR2_CAPTURE_REFERENCE_PIXELS", nullptr);
        DiagnosticsStart();
        DiagnosticsStart();
        bool right = CaptureRange() == "10-12" && TraceRange() == "7-7" && TraceOpen() && !CaptureReferencePixels();
        EndTrace();
        right =
            right && BytesOf("TLR2_trace_frame7.tlr2-trace").find("(env, frames 7..7 inclusive)") != std::string::npos;
        right = right && TakeTraceQuit() && FinishCaptureRange(13);
        folder.reset();
        std::_Exit(right ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(Selection, AnIgnoredOrTooLongRangeSelectsNothing) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const std::string& text : {std::string("12-10"), std::string(32, '0'), std::string()}) {
    EXPECT_EXIT(
        {
          test::SetVariable("TLR2_CAPTURE_FRAMES", text.c_str());
          test::SetVariable("TLR2_TRACE_FRAMES", text.c_str());
          DiagnosticsStart();
          const bool right = CaptureRange() == "none" && TraceRange() == "none" && !TraceOpen() && FolderIsEmpty();
          folder.reset();
          std::_Exit(right ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "")
        << text;
  }
}

TEST_F(Selection, ThirtyOneCharactersOfARangeFit) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        test::SetVariable("TLR2_CAPTURE_FRAMES", (std::string(29, '0') + "42").c_str());
        test::SetVariable("TLR2_TRACE_FRAMES", nullptr);
        DiagnosticsStart();
        const bool right = CaptureRange() == "42-42";
        folder.reset();
        std::_Exit(right ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(Selection, TheFirstCharacterDecidesOnReferencePixels) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  struct Case {
    std::string text;
    bool wanted;
  };
  const Case cases[] = {{"0", false}, {"no", false}, {"N", false},  {"f", false}, {"False", false},
                        {"", false},  {"1", true},   {"yes", true}, {"x0", true}, {std::string(20000, 'y'), true}};
  for (const Case& one : cases) {
    EXPECT_EXIT(
        {
          test::SetVariable("TLR2_CAPTURE_FRAMES", nullptr);
          test::SetVariable("TLR2_TRACE_FRAMES", nullptr);
          test::SetVariable("TLR2_CAPTURE_REFERENCE_PIXELS", one.text.c_str());
          DiagnosticsStart();
          const bool right = CaptureReferencePixels() == one.wanted;
          folder.reset();
          std::_Exit(right ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "")
        << one.text.substr(0, 40);
  }
}

TEST_F(Selection, ACaptureRequestTakesTheComingFrames) {
  captureRequested = 1;
  TickInto(20);
  EXPECT_EQ(CaptureRange(), "21-25");
  EXPECT_EQ(TraceRange(), "none");
  EXPECT_EQ(captureRequested.load(), 0);
  EXPECT_FALSE(FinishCaptureRange(26));  // no quit
}

TEST_F(Selection, ATraceRequestOpensATraceOfTheComingFrames) {
  traceRequested = 1;
  TickInto(20);
  EXPECT_EQ(TraceRange(), "21-25");
  EXPECT_EQ(CaptureRange(), "none");
  EXPECT_EQ(traceRequested.load(), 0);
  EXPECT_TRUE(TraceOpen());
  EXPECT_FALSE(TakeTraceQuit());
  EndTrace();
  EXPECT_EQ(BytesOf("TLR2_trace_frames21-25.tlr2-trace"),
            "=== TLR2 trace (UI, frames 21..25 inclusive) ===\n=== end of trace ===\n");
}

TEST_F(Selection, TheCountIsHeldBetweenOneAndItsOwnMost) {
  struct Case {
    std::int32_t count, captured, traced;
  };
  for (const Case one : {Case{0, 1, 1}, Case{-3, 1, 1}, Case{1, 1, 1}, Case{60, 60, 60}, Case{61, 61, 60},
                         Case{1000, 1000, 60}, Case{1001, 1000, 60}, Case{5000, 1000, 60}, Case{kMost, 1000, 60}}) {
    Reset();
    Settings().captureFrameCount = one.count;
    captureRequested = 1;
    traceRequested = 1;
    TickInto(20);
    EXPECT_EQ(CaptureRange(), "21-" + std::to_string(20 + one.captured)) << one.count;
    EXPECT_EQ(TraceRange(), "21-" + std::to_string(20 + one.traced)) << one.count;
  }
}

TEST_F(Selection, ARequestDuringARangeIsDroppedNotQueued) {
  SetCaptureRange(5, 6, "test", false);
  OpenTrace(5, 6, "UI", false);
  captureRequested = 1;
  traceRequested = 1;
  TickInto(5);
  EXPECT_EQ(CaptureRange(), "5-6");
  EXPECT_EQ(TraceRange(), "5-6");
  EXPECT_EQ(captureRequested.load(), 0);
  EXPECT_EQ(traceRequested.load(), 0);
  TickInto(7);
  TickInto(8);
  EXPECT_EQ(CaptureRange(), "none");
  EXPECT_EQ(TraceRange(), "none");
}

TEST_F(Selection, ARequestInTheTickThatEndsARangeStartsTheNext) {
  SetCaptureRange(5, 6, "test", false);
  captureRequested = 1;
  TickInto(7);
  EXPECT_EQ(CaptureRange(), "8-12");
}

TEST_F(Selection, AHotkeyHeldDownStartsOneCaptureAndNoTrace) {
  hotkeyHeld = true;
  TickInto(3);
  EXPECT_EQ(CaptureRange(), "4-8");
  EXPECT_EQ(TraceRange(), "none");
  for (std::int32_t frame = 4; frame < 20; ++frame) TickInto(frame);
  EXPECT_EQ(CaptureRange(), "none");
  hotkeyHeld = false;
  TickInto(20);
  EXPECT_EQ(CaptureRange(), "none");
  hotkeyHeld = true;
  TickInto(21);
  EXPECT_EQ(CaptureRange(), "22-26");
}

TEST_F(Selection, AHotkeyPressedDuringARangeDoesNotStartOneLater) {
  SetCaptureRange(5, 6, "test", false);
  hotkeyHeld = true;
  TickInto(6);
  TickInto(7);
  TickInto(8);
  EXPECT_EQ(CaptureRange(), "none");
}

TEST_F(Selection, ARangeWithoutAFileIsNoFinishedCapture) {
  const std::string before = LatestFinishedCapture().path;
  SetCaptureRange(1, 1, "test", false);
  TickInto(2);
  EXPECT_EQ(LatestFinishedCapture().path, before);
  EXPECT_TRUE(FolderIsEmpty());
}

}  // namespace
}  // namespace tlr2
