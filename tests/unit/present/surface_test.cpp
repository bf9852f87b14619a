// The surface's rules over the headless device.
#include "present/surface.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "present/headless/window.h"
#include "tlr2/headless.h"

namespace tlr2 {
namespace {

class SurfaceOfWindow : public testing::Test {
 protected:
  void SetUp() override { hdc = tlr2HeadlessCreateWindow(20, 10); }
  void TearDown() override {
    SurfaceDestroy(surface);
    tlr2HeadlessDestroyWindow(hdc);
  }
  HeadlessWindow& Window() { return *FindHeadlessWindow(hdc); }
  void Paint(std::uint32_t value) {
    for (std::int32_t y = 0; y < surface.height; ++y)
      for (std::int32_t x = 0; x < surface.width; ++x)
        surface.colorBuffer[static_cast<std::size_t>(y) * (surface.rowPitch / 4) + static_cast<std::size_t>(x)] =
            value + static_cast<std::uint32_t>(y * 1000 + x);
  }
  void PaintAndPresent(std::uint32_t value) {
    Paint(value);
    SurfacePresent(surface, hdc);
  }
  std::vector<std::uint32_t> Picture() {
    std::vector<std::uint32_t> out(tlr2HeadlessCopyPicture(hdc, nullptr, 0));
    tlr2HeadlessCopyPicture(hdc, out.data(), static_cast<std::uint32_t>(out.size()));
    return out;
  }
  /// What Paint(value) draws on a surface of that size.
  static std::vector<std::uint32_t> Painted(std::uint32_t value, std::uint32_t width = 20, std::uint32_t height = 10) {
    std::vector<std::uint32_t> out;
    for (std::uint32_t y = 0; y < height; ++y)
      for (std::uint32_t x = 0; x < width; ++x) out.push_back(value + y * 1000 + x);
    return out;
  }

  void* hdc = nullptr;
  Surface surface;
};

TEST_F(SurfaceOfWindow, CreateGivesZeroedColourAndTheWholeSize) {
  ASSERT_TRUE(SurfaceCreate(surface, 20, 10, WindowOfDeviceContext(hdc)));
  EXPECT_TRUE(SurfaceReady(surface));
  EXPECT_EQ(surface.width, 20);
  EXPECT_EQ(surface.height, 10);
  EXPECT_GT(surface.rowPitch, 80u);
  for (std::size_t i = 0; i < 10 * surface.rowPitch / 4; ++i) ASSERT_EQ(surface.colorBuffer[i], 0u);
}

TEST_F(SurfaceOfWindow, CreateFailsWithoutAWindowOrASize) {
  EXPECT_FALSE(SurfaceCreate(surface, 20, 10, nullptr));
  EXPECT_FALSE(SurfaceCreate(surface, 0, 10, hdc));
  EXPECT_FALSE(SurfaceCreate(surface, 20, -1, hdc));
  EXPECT_FALSE(SurfaceReady(surface));
  int notAWindow = 0;
  EXPECT_EQ(WindowOfDeviceContext(&notAWindow), nullptr);
  EXPECT_FALSE(SurfaceCreate(surface, 20, 10, &notAWindow));
}

TEST_F(SurfaceOfWindow, SizesWhoseBytesFitNoAddressMakeNoSurface) {
  // Four bytes a pixel take each of these rows past 32 bits, to a remainder that would pass for a short row.
  for (const std::int32_t width : {0x40000001, 0x7FFFFFFF, 0x40000000}) {
    EXPECT_FALSE(SurfaceCreate(surface, width, 1, hdc)) << width;
    EXPECT_FALSE(SurfaceReady(surface));
    EXPECT_EQ(surface.width, 0);
  }
  EXPECT_FALSE(SurfaceCreate(surface, 0x7FFFFFFF, 0x7FFFFFFF, hdc));
}

TEST_F(SurfaceOfWindow, AFailingDeviceLeavesNothingBehind) {
  Window().failInit = true;
  EXPECT_FALSE(SurfaceCreate(surface, 20, 10, hdc));
  Window().failInit = false;
  Window().failMap = true;
  EXPECT_FALSE(SurfaceCreate(surface, 20, 10, hdc));
  EXPECT_EQ(surface.device, nullptr);
  EXPECT_EQ(surface.depthBuffer, nullptr);
  EXPECT_EQ(surface.width, 0);
}

TEST_F(SurfaceOfWindow, AFailingCreateDropsWhatExisted) {
  ASSERT_TRUE(SurfaceCreate(surface, 20, 10, hdc));
  EXPECT_FALSE(SurfaceCreate(surface, 0, 0, hdc));
  EXPECT_FALSE(SurfaceReady(surface));
  EXPECT_EQ(surface.width, 0);
}

TEST_F(SurfaceOfWindow, EachPresentShowsThePictureAndChangesPointerAndPitch) {
  ASSERT_TRUE(SurfaceCreate(surface, 20, 10, hdc));
  std::uint32_t* const firstPixels = surface.colorBuffer;
  const std::uint32_t firstPitch = surface.rowPitch;
  float* const depth = surface.depthBuffer;
  EXPECT_EQ(tlr2HeadlessPictureCount(hdc), 0u);
  EXPECT_TRUE(Picture().empty());
  Paint(7);
  SurfacePresent(surface, hdc);
  EXPECT_NE(surface.colorBuffer, firstPixels);
  EXPECT_NE(surface.rowPitch, firstPitch);
  EXPECT_EQ(surface.depthBuffer, depth);
  const std::vector<std::uint32_t> shown = Picture();
  ASSERT_EQ(shown.size(), 200u);
  for (std::uint32_t y = 0; y < 10; ++y)
    for (std::uint32_t x = 0; x < 20; ++x) ASSERT_EQ(shown[y * 20 + x], 7 + y * 1000 + x);
  SurfacePresent(surface, hdc);
  EXPECT_EQ(surface.colorBuffer, firstPixels);
  EXPECT_EQ(surface.rowPitch, firstPitch);
  EXPECT_EQ(tlr2HeadlessPictureCount(hdc), 2u);
}

TEST_F(SurfaceOfWindow, TheBufferOfTheFrameAfterNextStillHoldsThisFrame) {
  ASSERT_TRUE(SurfaceCreate(surface, 20, 10, hdc));
  Paint(7);
  SurfacePresent(surface, hdc);
  EXPECT_EQ(surface.colorBuffer[0], 0u);
  Paint(50000);
  SurfacePresent(surface, hdc);
  EXPECT_EQ(surface.colorBuffer[0], 7u);
}

TEST_F(SurfaceOfWindow, AFailedPresentTakesTheColourBufferUntilANewCreate) {
  ASSERT_TRUE(SurfaceCreate(surface, 20, 10, hdc));
  Window().failPresent = true;
  SurfacePresent(surface, hdc);
  EXPECT_EQ(surface.colorBuffer, nullptr);
  EXPECT_EQ(surface.rowPitch, 0u);
  EXPECT_EQ(surface.width, 20);
  EXPECT_FALSE(SurfaceReady(surface));
  Window().failPresent = false;
  SurfacePresent(surface, hdc);  // does nothing
  EXPECT_EQ(tlr2HeadlessPictureCount(hdc), 0u);
  EXPECT_FALSE(SurfaceEnsureSize(surface, 0, 0, hdc));
  EXPECT_TRUE(SurfaceEnsureSize(surface, 5, 5, hdc));
  EXPECT_TRUE(SurfaceReady(surface));
  EXPECT_EQ(surface.width, 20);
  EXPECT_EQ(surface.height, 10);
}

TEST_F(SurfaceOfWindow, AFailedMapAfterTheFlipStopsThePictureToo) {
  ASSERT_TRUE(SurfaceCreate(surface, 20, 10, hdc));
  Window().failMap = true;
  SurfacePresent(surface, hdc);
  EXPECT_EQ(surface.colorBuffer, nullptr);
  EXPECT_EQ(tlr2HeadlessPictureCount(hdc), 1u);
}

TEST_F(SurfaceOfWindow, EnsureSizeNeverShrinksEitherAxis) {
  ASSERT_TRUE(SurfaceEnsureSize(surface, 20, 10, hdc));
  float* const depth = surface.depthBuffer;
  EXPECT_TRUE(SurfaceEnsureSize(surface, 20, 10, hdc));
  EXPECT_TRUE(SurfaceEnsureSize(surface, 3, 4, hdc));
  EXPECT_EQ(surface.depthBuffer, depth);
  EXPECT_TRUE(SurfaceEnsureSize(surface, 0, 40, hdc));  // no size: only the question
  EXPECT_EQ(surface.height, 10);
  EXPECT_TRUE(SurfaceEnsureSize(surface, 12, 30, hdc));
  EXPECT_EQ(surface.width, 20);
  EXPECT_EQ(surface.height, 30);
  EXPECT_TRUE(SurfaceEnsureSize(surface, 25, 1, hdc));
  EXPECT_EQ(surface.width, 25);
  EXPECT_EQ(surface.height, 30);
}

TEST_F(SurfaceOfWindow, GrowingDropsThePictureInBothBuffers) {
  ASSERT_TRUE(SurfaceEnsureSize(surface, 20, 10, hdc));
  Paint(7);
  SurfacePresent(surface, hdc);
  Paint(50000);
  ASSERT_TRUE(SurfaceEnsureSize(surface, 21, 10, hdc));
  EXPECT_EQ(surface.width, 21);
  for (int turn = 0; turn < 2; ++turn) {
    for (std::size_t i = 0; i < 10 * surface.rowPitch / 4; ++i) ASSERT_EQ(surface.colorBuffer[i], 0u) << turn;
    SurfacePresent(surface, hdc);
  }
}

TEST_F(SurfaceOfWindow, EnsureSizeNeedsAWindowOnlyToGrow) {
  ASSERT_TRUE(SurfaceEnsureSize(surface, 20, 10, hdc));
  EXPECT_TRUE(SurfaceEnsureSize(surface, 10, 10, nullptr));
  EXPECT_FALSE(SurfaceEnsureSize(surface, 21, 10, nullptr));
  EXPECT_TRUE(SurfaceReady(surface));
}

TEST_F(SurfaceOfWindow, AWindowThatEndedShowsNothingMore) {
  ASSERT_TRUE(SurfaceCreate(surface, 20, 10, hdc));
  tlr2HeadlessDestroyWindow(hdc);
  SurfacePresent(surface, hdc);
  EXPECT_FALSE(SurfaceReady(surface));
}

TEST_F(SurfaceOfWindow, EveryLookAtAPictureGivesTheSame) {
  ASSERT_TRUE(SurfaceCreate(surface, 20, 10, hdc));
  PaintAndPresent(7);
  EXPECT_EQ(Picture(), Painted(7));
  EXPECT_EQ(Picture(), Painted(7));
  EXPECT_EQ(tlr2HeadlessPictureCount(hdc), 1u);
}

TEST_F(SurfaceOfWindow, ALookWritesAsManyPixelsAsItAsksForAndNoMore) {
  ASSERT_TRUE(SurfaceCreate(surface, 20, 10, hdc));
  PaintAndPresent(7);
  const std::vector<std::uint32_t> whole = Painted(7);
  for (const std::uint32_t count : {0u, 1u, 19u, 20u, 21u, 57u, 199u, 200u, 300u}) {
    std::vector<std::uint32_t> out(300, 0xABABABABu);
    EXPECT_EQ(tlr2HeadlessCopyPicture(hdc, out.data(), count), 200u);
    for (std::uint32_t i = 0; i < 300; ++i) ASSERT_EQ(out[i], i < count && i < 200 ? whole[i] : 0xABABABABu) << count;
  }
}

TEST_F(SurfaceOfWindow, DrawingTheNextFrameLeavesThePictureShown) {
  ASSERT_TRUE(SurfaceCreate(surface, 20, 10, hdc));
  for (std::uint32_t frame = 1; frame < 6; ++frame) {
    PaintAndPresent(frame * 100000);
    Paint(frame * 100000 + 50000);
    EXPECT_EQ(Picture(), Painted(frame * 100000));
  }
}

TEST_F(SurfaceOfWindow, ALaterPictureTakesThePlaceOfOneThatNobodySaw) {
  ASSERT_TRUE(SurfaceCreate(surface, 20, 10, hdc));
  PaintAndPresent(100000);
  PaintAndPresent(200000);
  PaintAndPresent(300000);
  EXPECT_EQ(Picture(), Painted(300000));
  EXPECT_EQ(tlr2HeadlessPictureCount(hdc), 3u);
}

TEST_F(SurfaceOfWindow, ThePictureOutlivesItsDevice) {
  ASSERT_TRUE(SurfaceCreate(surface, 20, 10, hdc));
  PaintAndPresent(100000);
  PaintAndPresent(200000);
  Paint(300000);  // never shown
  SurfaceDestroy(surface);
  EXPECT_EQ(Picture(), Painted(200000));
  EXPECT_EQ(Picture(), Painted(200000));
  EXPECT_EQ(tlr2HeadlessPictureCount(hdc), 2u);
  // A device that shows nothing changes nothing, neither while it lives nor when it ends.
  ASSERT_TRUE(SurfaceCreate(surface, 20, 10, hdc));
  Paint(400000);
  EXPECT_EQ(Picture(), Painted(200000));
  SurfaceDestroy(surface);
  EXPECT_EQ(Picture(), Painted(200000));
  ASSERT_TRUE(SurfaceCreate(surface, 20, 10, hdc));
  PaintAndPresent(500000);
  EXPECT_EQ(Picture(), Painted(500000));
}

TEST_F(SurfaceOfWindow, AGrownSurfaceKeepsThePictureUntilItShowsItsOwn) {
  ASSERT_TRUE(SurfaceCreate(surface, 20, 10, hdc));
  PaintAndPresent(100000);
  ASSERT_TRUE(SurfaceEnsureSize(surface, 25, 12, hdc));
  Paint(200000);
  std::int32_t width = 0, height = 0;
  EXPECT_EQ(tlr2HeadlessPictureSize(hdc, &width, &height), 1);
  EXPECT_EQ(width, 20);
  EXPECT_EQ(height, 10);
  EXPECT_EQ(Picture(), Painted(100000));
  SurfacePresent(surface, hdc);
  EXPECT_EQ(tlr2HeadlessPictureSize(hdc, &width, &height), 1);
  EXPECT_EQ(width, 25);
  EXPECT_EQ(height, 12);
  EXPECT_EQ(Picture(), Painted(200000, 25, 12));
}

TEST_F(SurfaceOfWindow, AFailedPresentLeavesThePictureBeforeIt) {
  ASSERT_TRUE(SurfaceCreate(surface, 20, 10, hdc));
  PaintAndPresent(100000);
  Window().failPresent = true;
  PaintAndPresent(200000);
  EXPECT_EQ(Picture(), Painted(100000));
  EXPECT_EQ(tlr2HeadlessPictureCount(hdc), 1u);
  SurfaceDestroy(surface);
  EXPECT_EQ(Picture(), Painted(100000));
}

TEST_F(SurfaceOfWindow, APictureIsShownThoughNoBufferForTheNextCanBeMapped) {
  ASSERT_TRUE(SurfaceCreate(surface, 20, 10, hdc));
  Window().failMap = true;
  PaintAndPresent(100000);
  EXPECT_EQ(Picture(), Painted(100000));
  EXPECT_FALSE(SurfaceEnsureSize(surface, 20, 10, hdc));
  EXPECT_EQ(Picture(), Painted(100000));
}

TEST_F(SurfaceOfWindow, OfTwoSurfacesOfAWindowTheLastToShowIsSeen) {
  Surface other;
  ASSERT_TRUE(SurfaceCreate(surface, 20, 10, hdc));
  ASSERT_TRUE(SurfaceCreate(other, 20, 10, hdc));
  PaintAndPresent(100000);
  SurfacePresent(other, hdc);
  Paint(200000);
  SurfaceDestroy(surface);
  EXPECT_EQ(Picture(), std::vector<std::uint32_t>(200, 0u));
  SurfaceDestroy(other);
  EXPECT_EQ(Picture(), std::vector<std::uint32_t>(200, 0u));
}

TEST_F(SurfaceOfWindow, AnotherThreadThatLooksSeesWholePictures) {
  constexpr std::uint32_t kWidth = 200, kHeight = 100, kLeastFrames = 500, kLeastLooks = 1000;
  ASSERT_TRUE(SurfaceCreate(surface, kWidth, kHeight, hdc));
  PaintAndPresent(0);
  std::atomic<bool> ended = false;
  std::atomic<std::uint32_t> looks = 0;
  std::uint32_t torn = 0, backwards = 0;
  std::thread watcher([&] {
    std::uint32_t last = 0;
    std::vector<std::uint32_t> out(kWidth * kHeight);
    for (; !ended; ++looks) {
      tlr2HeadlessCopyPicture(hdc, out.data(), kWidth * kHeight);
      for (std::uint32_t i = 0; i < kWidth * kHeight; ++i)
        torn += out[i] != out[0] + i / kWidth * 1000 + i % kWidth ? 1 : 0;
      backwards += out[0] < last ? 1 : 0;
      last = out[0];
    }
  });
  std::uint32_t frame = 0;
  while (++frame < kLeastFrames || looks < kLeastLooks) {
    PaintAndPresent(frame);
    if (frame % 50 == 0) {
      EXPECT_TRUE(SurfaceCreate(surface, kWidth, kHeight, hdc));
    }
  }
  ended = true;
  watcher.join();
  EXPECT_EQ(torn, 0u);
  EXPECT_EQ(backwards, 0u);
  EXPECT_EQ(Picture(), Painted(frame - 1, kWidth, kHeight));
}

TEST(HeadlessWindows, HaveAPositiveClientSizeThatCanChange) {
  EXPECT_EQ(tlr2HeadlessCreateWindow(0, 5), nullptr);
  EXPECT_EQ(tlr2HeadlessCreateWindow(5, -1), nullptr);
  void* hdc = tlr2HeadlessCreateWindow(5, 6);
  std::int32_t width = 0, height = 0;
  EXPECT_TRUE(WindowClientSize(hdc, width, height));
  EXPECT_EQ(width, 5);
  EXPECT_EQ(height, 6);
  EXPECT_EQ(tlr2HeadlessResizeWindow(hdc, 7, 0), 0);
  EXPECT_EQ(tlr2HeadlessResizeWindow(hdc, 7, 8), 1);
  EXPECT_TRUE(WindowClientSize(hdc, width, height));
  EXPECT_EQ(width, 7);
  EXPECT_EQ(tlr2HeadlessPictureSize(hdc, &width, &height), 1);
  EXPECT_EQ(width, 0);
  tlr2HeadlessDestroyWindow(hdc);
  EXPECT_FALSE(WindowClientSize(hdc, width, height));
  EXPECT_EQ(tlr2HeadlessPictureSize(hdc, &width, nullptr), 0);
  tlr2HeadlessDestroyWindow(hdc);
  tlr2HeadlessDestroyWindow(nullptr);
}

}  // namespace
}  // namespace tlr2
