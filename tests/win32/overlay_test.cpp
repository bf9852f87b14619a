// The frame-rate overlay on the shown picture: when it appears, what it costs, and what failures and lost targets do.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/system_times.h"
#include "platform/topology.h"
#include "present/dxgi/dxgi_present.h"
#include "present/surface.h"
#include "process_counts.h"
#include "settings/settings.h"
#include "test_window.h"
#include "trace_lines.h"

namespace tlr2 {
namespace {

using test::CountThreads;
using test::TestWindow;
using test::TraceLines;

constexpr HRESULT kRecreate = static_cast<HRESULT>(0x8899000C);

class FpsOverlayOnScreen : public testing::Test {
 protected:
  FpsOverlayOnScreen() { TraceLines().clear(); }
  ~FpsOverlayOnScreen() override {
    failingStep = nullptr;
    failingResult = E_FAIL;
    Settings().showFpsOverlay = 0;
    SurfaceDestroy(surface);
  }
  void SetUp() override { ASSERT_TRUE(SurfaceCreate(surface, kWidth, kHeight, window.handle())); }

  FpsOverlay& Overlay() { return surface.device->overlay; }
  void Show() {
    for (std::int32_t y = 0; y < surface.height; ++y) {
      auto* row = reinterpret_cast<std::uint32_t*>(reinterpret_cast<std::uint8_t*>(surface.colorBuffer) +
                                                   static_cast<std::size_t>(y) * surface.rowPitch);
      std::fill_n(row, surface.width, 0xFF000000u | kGround);
    }
    SurfacePresent(surface, window.deviceContext());
    ASSERT_NE(surface.colorBuffer, nullptr);
    TestWindow::Pump();
  }
  /// Turns the overlay on and lets its first second be over at the next frame.
  void TurnOn() {
    Settings().showFpsOverlay = 1;
    Show();
    Overlay().meter.lastUpdateTicks -= TicksPerSecond();
  }

  /// Rows of the screen that hold nearly white pixels, as runs from-to.
  std::vector<std::pair<int, int>> TextLines() const {
    const std::vector<std::uint32_t> screen = window.Screen();
    std::vector<std::pair<int, int>> lines;
    for (int y = 0; y < kHeight; ++y) {
      bool text = false;
      for (int x = 0; x < kWidth; ++x) text = text || White(screen[static_cast<std::size_t>(y * kWidth + x)]);
      if (!text) continue;
      if (lines.empty() || lines.back().second != y - 1) lines.emplace_back(y, y);
      lines.back().second = y;
    }
    return lines;
  }
  static bool White(std::uint32_t pixel) {
    return (pixel & 0xFF) > 240 && (pixel >> 8 & 0xFF) > 240 && (pixel >> 16 & 0xFF) > 240;
  }
  int DarkPixels() const {
    const std::vector<std::uint32_t> screen = window.Screen();
    return static_cast<int>(std::count_if(screen.begin(), screen.end(), [](std::uint32_t pixel) {
      return (pixel & 0xFF) < 40 && (pixel >> 8 & 0xFF) < 40 && (pixel >> 16 & 0xFF) < 40;
    }));
  }
  /// Shows frames, at most for two seconds, until the screen has text or has none.
  bool ShowUntilText(bool wanted) {
    for (int i = 0; i < 60; ++i) {
      Show();
      if (TextLines().empty() != wanted) return true;
      Sleep(30);
    }
    return false;
  }

  static constexpr int kWidth = 480, kHeight = 280;
  static constexpr std::uint32_t kGround = 0x3060A0;
  TestWindow window{kWidth, kHeight};
  Surface surface;
};

TEST_F(FpsOverlayOnScreen, OffItMakesNothing) {
  for (int i = 0; i < 5; ++i) Show();
  EXPECT_EQ(Overlay().factory, nullptr);
  EXPECT_EQ(Overlay().textFactory, nullptr);
  EXPECT_EQ(Overlay().sampler, nullptr);
  EXPECT_EQ(Overlay().meter.tickFrequency, 0);
  EXPECT_EQ(Overlay().meter.framesSinceUpdate, 0);
}

TEST_F(FpsOverlayOnScreen, TurnedOnInARunningFrameItAppearsAfterASecondWithTheTrueRate) {
  ASSERT_TRUE(ShowUntilText(false));
  Settings().showFpsOverlay = 1;
  Show();
  const std::int64_t began = Overlay().meter.lastUpdateTicks;
  EXPECT_GT(Overlay().meter.tickFrequency, 0);
  int frames = 1;
  while (Overlay().meter.shownFps == 0 && frames < 2000) {
    const double passed = static_cast<double>(TicksNow() - began) / static_cast<double>(TicksPerSecond());
    ASSERT_LT(passed, 5.0);
    if (passed > 0.5 && passed < 0.7) {
      EXPECT_TRUE(TextLines().empty()) << "no text before the first measure";
    }
    Sleep(10);
    Show();
    ++frames;
  }
  const double passed =
      static_cast<double>(Overlay().meter.lastUpdateTicks - began) / static_cast<double>(TicksPerSecond());
  EXPECT_GE(passed, 1.0);
  EXPECT_EQ(Overlay().meter.shownFps, static_cast<std::int32_t>(std::floor(frames / passed + 0.5)));
  ASSERT_TRUE(ShowUntilText(true));
  EXPECT_EQ(TextLines().size(), 3u) << "size, rate and load have a line each";
  EXPECT_GT(DarkPixels(), 200) << "the shadow";
  EXPECT_TRUE(TraceLines().empty());
  Settings().showFpsOverlay = 0;
  EXPECT_TRUE(ShowUntilText(false)) << "and it goes with the next frame";
}

TEST_F(FpsOverlayOnScreen, TextStandsWhereItBelongs) {
  TurnOn();
  ASSERT_TRUE(ShowUntilText(true));
  const std::vector<std::uint32_t> screen = window.Screen();
  int left = kWidth;
  for (int y = 0; y < kHeight; ++y)
    for (int x = 0; x < kWidth; ++x)
      if (White(screen[static_cast<std::size_t>(y * kWidth + x)])) left = std::min(left, x);
  EXPECT_GE(left, 30);
  EXPECT_LE(left, 45);
  const auto lines = TextLines();
  EXPECT_GE(lines.front().first, 15);
  EXPECT_LE(lines.back().second, 260);
}

TEST_F(FpsOverlayOnScreen, EachStepThatFailsTracesItsLabelAtEachFrameAndThePictureGoesOn) {
  static constexpr const char* kLabels[] = {
      "D2D1CreateFactory(FPS overlay)",
      "DWriteCreateFactory(FPS overlay)",
      "CreateDxgiSurfaceRenderTarget(FPS overlay)",
      "CreateSolidColorBrush(FPS overlay)",
      "CreateSolidColorBrush(FPS shadow)",
      "CreateTextFormat(FPS overlay)",
  };
  Settings().showFpsOverlay = 1;
  for (const char* label : kLabels) {
    TraceLines().clear();
    failingStep = label;
    Show();
    Show();
    ASSERT_EQ(TraceLines().size(), 2u) << label;
    for (const std::string& line : TraceLines())
      EXPECT_EQ(line, std::string("TLR2::DxgiPresent::Init (step=") + label + ", hr=0x80004005)");
    EXPECT_EQ(Overlay().meter.tickFrequency, 0) << "the measure starts once everything is there";
    EXPECT_EQ(Overlay().meter.framesSinceUpdate, 0);
  }
  failingStep = nullptr;
  TraceLines().clear();
  TurnOn();
  EXPECT_TRUE(ShowUntilText(true));
  EXPECT_TRUE(TraceLines().empty());
}

TEST_F(FpsOverlayOnScreen, ALostTargetIsMadeAnewAtTheNextFrame) {
  TurnOn();
  ASSERT_TRUE(ShowUntilText(true));
  IDWriteTextFormat* const format = Overlay().textFormat;
  for (int round = 0; round < 3; ++round) {
    failingStep = "EndDraw";
    failingResult = kRecreate;
    Show();
    EXPECT_EQ(Overlay().target, nullptr);
    EXPECT_EQ(Overlay().textBrush, nullptr);
    EXPECT_EQ(Overlay().shadowBrush, nullptr);
    EXPECT_EQ(Overlay().textFormat, format) << "what does not belong to the target stays";
    failingStep = nullptr;
    Show();
    EXPECT_NE(Overlay().target, nullptr);
    EXPECT_NE(Overlay().textBrush, nullptr);
    EXPECT_NE(Overlay().shadowBrush, nullptr);
    EXPECT_TRUE(ShowUntilText(true)) << round;
  }
  EXPECT_TRUE(TraceLines().empty());
}

TEST_F(FpsOverlayOnScreen, TheLoadIsSampledWithEachMeasureAndInNoOtherFrame) {
  TurnOn();
  Show();  // the first reading is the baseline
  for (int round = 0; round < 3; ++round) {
    Sleep(100);  // in which the processors' times move
    Overlay().meter.shownCpu = -1;
    Overlay().meter.lastUpdateTicks -= TicksPerSecond();
    Show();
    EXPECT_GE(Overlay().meter.shownCpu, 0);
    EXPECT_LE(Overlay().meter.shownCpu, 100);
    Overlay().meter.shownCpu = -1;
    Show();
    EXPECT_EQ(Overlay().meter.shownCpu, -1);
  }
}

TEST_F(FpsOverlayOnScreen, ItSaysTheSizeOfWhatIsRendered) {
  ASSERT_TRUE(SurfaceEnsureSize(surface, kWidth + 40, kHeight + 8, window.deviceContext()));
  Overlay().meter.shownFps = 7;
  Overlay().meter.shownCpu = 3;
  wchar_t text[kOverlayTextLength];
  const std::uint32_t length = OverlayText(*surface.device, text);
  EXPECT_EQ(std::wstring(text, length), L"520 x 288\nFPS 7\nCPU 3%");
}

TEST_F(FpsOverlayOnScreen, AnyOtherFailureOfDrawingKeepsTheTarget) {
  TurnOn();
  ASSERT_TRUE(ShowUntilText(true));
  ID2D1RenderTarget* const target = Overlay().target;
  failingStep = "EndDraw";
  Show();
  EXPECT_EQ(Overlay().target, target);
  failingStep = nullptr;
  EXPECT_TRUE(ShowUntilText(true));
}

TEST_F(FpsOverlayOnScreen, ANewSurfaceStartsItsOverlayAnew) {
  TurnOn();
  ASSERT_TRUE(ShowUntilText(true));
  ASSERT_TRUE(SurfaceEnsureSize(surface, kWidth + 40, kHeight, window.deviceContext()));
  EXPECT_EQ(Overlay().factory, nullptr);
  TurnOn();
  EXPECT_TRUE(ShowUntilText(true));
}

TEST_F(FpsOverlayOnScreen, TwentyDevicesWithTheOverlayLeaveNoObjectAndNoThreadBehind) {
  TurnOn();
  SurfaceDestroy(surface);
  Settings().showFpsOverlay = 1;
  const int threads = CountThreads();
  for (int i = 0; i < 20; ++i) {
    ASSERT_TRUE(SurfaceCreate(surface, kWidth, kHeight, window.handle())) << i;
    TurnOn();
    Show();
    ASSERT_NE(Overlay().sampler, nullptr);
    ASSERT_GT(Overlay().meter.shownFps, 0);
    ID3D11Device* device = surface.device->device;
    device->AddRef();
    SurfaceDestroy(surface);
    EXPECT_EQ(device->Release(), 0u) << "round " << i << ": something still holds the device";
  }
  for (int i = 0; i < 200 && CountThreads() > threads; ++i) Sleep(10);  // one of the system's own may be about to end
  EXPECT_LE(CountThreads(), threads);
}

TEST(LoadSamplerThreads, TheFirstReadingIsTheBaselineAndTheNextIsTheSystemsOwnLoad) {
  LoadSampler* sampler = StartLoadSampler();
  ASSERT_NE(sampler, nullptr);
  SystemTimes before, after;
  EXPECT_EQ(SampleLoad(sampler, 77), 77);
  ASSERT_TRUE(ReadSystemTimes(before));
  const DWORD began = GetTickCount();
  volatile double work = 1;
  while (GetTickCount() - began < 700) work = work * 1.0000001;
  const std::int32_t load = SampleLoad(sampler, 77);
  ASSERT_TRUE(ReadSystemTimes(after));
  StopLoadSampler(sampler);
  const std::int32_t own = LoadPercent(&before, &after, 1, -1);
  EXPECT_NEAR(load, own, 8);
  EXPECT_GT(load, 0);
}

// What the next readings of the sampler's thread say.
std::atomic<std::uint64_t> toldIdle, toldBusy;
std::atomic<bool> tellNothing;
std::atomic<DWORD> lateMs;

bool Told(SystemTimes& times) noexcept {
  if (const DWORD late = lateMs.exchange(0); late != 0) Sleep(late);
  times = {toldIdle.load(), toldIdle.load(), toldBusy.load()};
  return !tellNothing.load();
}

class ToldLoad : public testing::Test {
 protected:
  void SetUp() override {
    if (ActiveGroupCount() != 1) GTEST_SKIP() << "SKIPPED: one lateness would do for one group of many";
    Tell(1000, 1000);
    tellNothing = false;
    lateMs = 0;
    sampler = StartLoadSampler(Told);
    ASSERT_NE(sampler, nullptr);
    EXPECT_EQ(SampleLoad(sampler, 5), 5) << "the baseline";
  }
  void TearDown() override { StopLoadSampler(sampler); }
  static void Tell(std::uint64_t idle, std::uint64_t busy) {
    toldIdle = idle;
    toldBusy = busy;
  }
  LoadSampler* sampler = nullptr;
};

TEST_F(ToldLoad, AReadingThatFailsKeepsTheValueAndTheBaseline) {
  Tell(1090, 1010);
  EXPECT_EQ(SampleLoad(sampler, 5), 10);
  tellNothing = true;
  Tell(1090, 1110);
  const DWORD began = GetTickCount();
  EXPECT_EQ(SampleLoad(sampler, 10), 10);
  EXPECT_GE(GetTickCount() - began, 80u) << "it waits for its tenth of a second";
  EXPECT_EQ(SampleLoad(sampler, 10), 10) << "as often as it fails";
  tellNothing = false;
  Tell(1140, 1160);
  EXPECT_EQ(SampleLoad(sampler, 10), 75) << "since the last reading that was had: 150 of 200";
  EXPECT_EQ(SampleLoad(sampler, 75), 75) << "no time has passed";
}

TEST_F(ToldLoad, AReadingThatComesLateKeepsTheValueAndTheBaseline) {
  lateMs = 300;
  Tell(1090, 1010);
  EXPECT_EQ(SampleLoad(sampler, 5), 5);
  Sleep(500);  // it is over, and its figures are there
  Tell(1100, 1100);
  EXPECT_EQ(SampleLoad(sampler, 5), 50) << "since the baseline: 100 of 200; since the late one it would be 90 of 100";
}

TEST_F(ToldLoad, AFirstReadingThatFailedIsNoBaseline) {
  StopLoadSampler(sampler);
  tellNothing = true;
  sampler = StartLoadSampler(Told);
  ASSERT_NE(sampler, nullptr);
  EXPECT_EQ(SampleLoad(sampler, 7), 7);
  tellNothing = false;
  Tell(2000, 2000);
  EXPECT_EQ(SampleLoad(sampler, 7), 7) << "this is the first";
  Tell(2075, 2025);
  EXPECT_EQ(SampleLoad(sampler, 7), 25);
}

TEST(LoadSamplerThreads, WithoutASamplerTheLoadStays) {
  EXPECT_EQ(SampleLoad(nullptr, 31), 31);
  StopLoadSampler(nullptr);
}

TEST(LoadSamplerThreads, TwoHundredSamplersLeaveNoThreadAndNoHandle) {
  StopLoadSampler(StartLoadSampler());
  const int handles = test::CountHandles();
  ASSERT_GT(handles, 0);
  const std::size_t heapBytes = test::CountHeapBytes();
  const int threads = CountThreads();
  for (int i = 0; i < 200; ++i) {
    LoadSampler* sampler = StartLoadSampler();
    ASSERT_NE(sampler, nullptr);
    SampleLoad(sampler, 0);
    StopLoadSampler(sampler);
  }
  EXPECT_EQ(test::CountHandles(), handles);
  EXPECT_LE(test::CountHeapBytes(), heapBytes + 4096);
  EXPECT_EQ(CountThreads(), threads);
}

}  // namespace
}  // namespace tlr2
