// The frame-rate overlay's measures: when a rate is taken, what it is, and what the load and the text are made of.
#include "present/frame_meter.h"

#include <gtest/gtest.h>

#include <string>

namespace tlr2 {
namespace {

constexpr std::int64_t kSecond = 1000;  // ticks

std::wstring Text(std::int32_t width, std::int32_t height, const FrameMeter& meter) {
  wchar_t text[kOverlayTextLength];
  const std::uint32_t length = FormatOverlayText(width, height, meter, text);
  return std::wstring(text, length);
}

TEST(FrameMeter, NothingIsShownBeforeAFullSecond) {
  FrameMeter meter;
  EXPECT_TRUE(StartFrameMeter(meter, kSecond, 5000));
  EXPECT_FALSE(StartFrameMeter(meter, kSecond, 7000)) << "once only";
  for (int i = 1; i < 50; ++i) EXPECT_FALSE(CountShownFrame(meter, 5000 + i * 20)) << i;
  EXPECT_FALSE(CountShownFrame(meter, 5999));
  EXPECT_EQ(meter.shownFps, 0);
  EXPECT_TRUE(CountShownFrame(meter, 6000));
  EXPECT_EQ(meter.shownFps, 51);
  EXPECT_EQ(meter.framesSinceUpdate, 0);
  EXPECT_EQ(meter.lastUpdateTicks, 6000);
}

TEST(FrameMeter, TheRateIsRoundedOverTheTimeThatReallyPassed) {
  FrameMeter meter;
  StartFrameMeter(meter, kSecond, 1);
  for (int i = 0; i < 9; ++i) CountShownFrame(meter, 2);
  EXPECT_TRUE(CountShownFrame(meter, 1 + 4 * kSecond));
  EXPECT_EQ(meter.shownFps, 3) << "10 frames in 4 seconds are 2.5 a second";
  for (int i = 0; i < 8; ++i) CountShownFrame(meter, 2 + 4 * kSecond);
  EXPECT_TRUE(CountShownFrame(meter, 1 + 8 * kSecond));
  EXPECT_EQ(meter.shownFps, 2);
  EXPECT_TRUE(CountShownFrame(meter, 1 + 60 * kSecond));
  EXPECT_EQ(meter.shownFps, 0) << "one frame in 52 seconds, and no text again";
}

TEST(FrameMeter, AMeterThatWasNotStartedNeverMeasures) {
  FrameMeter meter;
  EXPECT_FALSE(CountShownFrame(meter, 100 * kSecond));
  meter.tickFrequency = kSecond;
  EXPECT_FALSE(CountShownFrame(meter, 100 * kSecond));
  EXPECT_EQ(meter.shownFps, 0);
}

TEST(FrameMeter, TheTextHasSizeRateAndLoadOnALineEach) {
  FrameMeter meter;
  meter.shownFps = 61;
  meter.shownCpu = 7;
  EXPECT_EQ(Text(1280, 720, meter), L"1280 x 720\nFPS 61\nCPU 7%");
  meter.shownFps = 2147483647;
  meter.shownCpu = 100;
  EXPECT_EQ(Text(2147483647, 2147483647, meter), L"2147483647 x 2147483647\nFPS 2147483647\nCPU 100%");
}

TEST(FrameMeter, TheLoadIsTheBusyShareOfAllGroups) {
  const SystemTimes before[2] = {{100, 150, 50}, {0, 0, 0}};
  const SystemTimes after[2] = {{150, 230, 70}, {75, 80, 20}};
  EXPECT_EQ(LoadPercent(before, after, 1, 9), 50);
  EXPECT_EQ(LoadPercent(before, after, 2, 9), 38) << "75 of 200 ticks, rounded";
  EXPECT_EQ(LoadPercent(before, after, 0, 9), 9) << "no time has passed";
  EXPECT_EQ(LoadPercent(before, before, 2, 9), 9);
}

TEST(FrameMeter, TheLoadStaysWithinItsEnds) {
  const SystemTimes before[1] = {{0, 0, 0}};
  const SystemTimes idle[1] = {{100, 100, 0}}, busy[1] = {{0, 60, 40}}, odd[1] = {{120, 100, 0}};
  EXPECT_EQ(LoadPercent(before, idle, 1, 9), 0);
  EXPECT_EQ(LoadPercent(before, busy, 1, 9), 100);
  EXPECT_EQ(LoadPercent(before, odd, 1, 9), 0) << "counters are read one after another";
}

TEST(SystemTimes, GoOnlyForwardAndIdleIsPartOfTheKernel) {
  SystemTimes first, second;
  ASSERT_TRUE(ReadSystemTimes(first));
  ASSERT_TRUE(ReadSystemTimes(second));
  EXPECT_GT(first.kernel + first.user, 0u);
  EXPECT_LE(first.idle, first.kernel);
  EXPECT_GE(second.kernel + second.user, first.kernel + first.user);
}

}  // namespace
}  // namespace tlr2
