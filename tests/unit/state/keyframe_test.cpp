// Keyframes: copy on first write, rewinding, the capture's baseline, and steady frames without allocation.
#include "api/state/keyframe.h"

#include <gtest/gtest.h>

#include <memory>

#include "allocation_counter.h"
#include "api/state/effects.h"
#include "platform/thread_block.h"
#include "settings/settings.h"
#include "tiles/grid/grid.h"

namespace tlr2 {
namespace {

TextureObject Texture(std::uint32_t texel) {
  TextureObject object;
  object.inUse = object.hasImage = 1;
  object.width = object.height = 1;
  object.pixels.assign(1, texel);
  return object;
}

class KeyframeTest : public ::testing::Test {
 protected:
  KeyframeTest() : state_(DriverStateInstance()), live_(LiveKeyframeInstance()) {
    state_ = DriverState();
    live_ = LiveKeyframe();
    Settings().pipelineCutoff = 5;
  }
  ~KeyframeTest() override {
    Settings().pipelineCutoff = 5;
    CurrentThreadGuard().suppress = false;
  }
  DriverState& state_;
  LiveKeyframe& live_;
};

TEST_F(KeyframeTest, TakeSavesTheStateAndCountsTextures) {
  live_.pendingIds.push_back(1);
  live_.pendingRecords.emplace_back();
  state_.clearColor = 0x11223344u;
  state_.textureTable.resize(3);
  TakeKeyframe();
  EXPECT_EQ(live_.valid, 1);
  EXPECT_EQ(live_.snapshot.clearColor, 0x11223344u);
  EXPECT_EQ(live_.textureCount, 3u);
  EXPECT_TRUE(live_.pendingIds.empty());
  EXPECT_TRUE(live_.pendingRecords.empty());
  EXPECT_EQ(live_.touched, std::vector<std::uint8_t>(3, 0));
}

TEST_F(KeyframeTest, FirstTouchSavesAndFurtherOnesAddNothing) {
  state_.textureTable.push_back(Texture(1));
  state_.textureTable.push_back(Texture(2));
  TakeKeyframe();
  TouchTexture(1);
  state_.textureTable[1].pixels[0] = 99;
  TouchTexture(1);
  ASSERT_EQ(live_.pendingIds, std::vector<std::uint32_t>{1});
  ASSERT_EQ(live_.pendingRecords.size(), 1u);
  EXPECT_EQ(live_.pendingRecords[0].pixels[0], 2u) << "a copy of its own";
}

TEST_F(KeyframeTest, YoungerAndUnknownTexturesAreNotSaved) {
  state_.textureTable.resize(1);
  TakeKeyframe();
  state_.textureTable.resize(2);
  TouchTexture(1);
  TouchTexture(7);
  EXPECT_TRUE(live_.pendingIds.empty());
  live_.textureCount = 5;  // a table that became shorter
  TouchTexture(4);
  EXPECT_TRUE(live_.pendingIds.empty());
  state_.textureTable.resize(6);
  TouchTexture(5);  // the first younger one
  EXPECT_TRUE(live_.pendingIds.empty());
  live_.touched.clear();
  TouchTexture(1);
  EXPECT_EQ(live_.touched.size(), 5u);
  EXPECT_EQ(live_.touched[1], 1);
}

TEST_F(KeyframeTest, NothingIsSavedWhileNothingIsRecorded) {
  state_.textureTable.resize(1);
  TakeKeyframe();
  Settings().pipelineCutoff = 0;
  TouchTexture(0);
  Settings().pipelineCutoff = 5;
  CurrentThreadGuard().suppress = true;
  TouchTexture(0);
  EXPECT_TRUE(live_.pendingIds.empty());
  CurrentThreadGuard().suppress = false;
  TouchTexture(0);
  EXPECT_EQ(live_.pendingIds.size(), 1u);
}

TEST_F(KeyframeTest, ApplyRewindsStateAndTextures) {
  state_.textureTable.push_back(Texture(1));
  state_.textureTable.push_back(Texture(2));
  effect::ClearColor(state_, 1, 0, 0, 1);
  TakeKeyframe();
  TouchTexture(1);
  state_.textureTable[1].pixels.assign(16, 7);
  state_.textureTable[1].width = 4;
  state_.textureTable.push_back(Texture(3));  // made during the frame
  effect::ClearColor(state_, 0, 1, 0, 1);
  effect::LoadIdentity(state_);

  Keyframe keyframe;
  BuildKeyframe(keyframe);
  EXPECT_EQ(keyframe.valid, 1);
  ApplyKeyframe(keyframe);
  EXPECT_EQ(state_.clearColor, 0xFFFF0000u);
  EXPECT_EQ(state_.matrixStacks[0][0][0], 0.0f);
  ASSERT_EQ(state_.textureTable.size(), 2u) << "the younger texture is gone";
  EXPECT_EQ(state_.textureTable[1].width, 1);
  ASSERT_EQ(state_.textureTable[1].pixels.size(), 1u);
  EXPECT_EQ(state_.textureTable[1].pixels[0], 2u);
}

TEST_F(KeyframeTest, ApplyCanBeRepeatedFromTheSameKeyframe) {
  state_.textureTable.push_back(Texture(1));
  TakeKeyframe();
  TouchTexture(0);
  state_.textureTable[0].pixels[0] = 5;
  Keyframe keyframe;
  BuildKeyframe(keyframe);
  for (int i = 0; i < 2; ++i) {
    ApplyKeyframe(keyframe);
    EXPECT_EQ(state_.textureTable[0].pixels[0], 1u);
    state_.textureTable[0].pixels[0] = 6;
  }
}

TEST_F(KeyframeTest, PendingClearsOfTheKeyframeComeBack) {
  effect::Clear(state_, gl::kColorBufferBit);
  TakeKeyframe();
  ResetFrame(state_);
  EXPECT_EQ(state_.pendingColorClear, 0);
  Keyframe keyframe;
  BuildKeyframe(keyframe);
  ApplyKeyframe(keyframe);
  EXPECT_EQ(state_.pendingColorClear, 1) << "a program that cleared once is cleared at each later frame";
  EXPECT_EQ(state_.pendingColorClearValue, 0xFF000000u);
}

TEST_F(KeyframeTest, WithoutAValidOneBuildTakesTheLiveStateAndApplyDoesNothing) {
  state_.clearColor = 5;
  state_.textureTable.resize(2);
  Keyframe keyframe;
  keyframe.pendingIds.push_back(1);
  keyframe.valid = 1;
  BuildKeyframe(keyframe);
  EXPECT_EQ(keyframe.valid, 0);
  EXPECT_EQ(keyframe.snapshot.clearColor, 5u);
  EXPECT_EQ(keyframe.textureCount, 2u);
  EXPECT_TRUE(keyframe.pendingIds.empty());
  state_.clearColor = 6;
  state_.textureTable.resize(4);
  ApplyKeyframe(keyframe);
  EXPECT_EQ(state_.clearColor, 6u);
  EXPECT_EQ(state_.textureTable.size(), 4u);
}

TEST_F(KeyframeTest, PendingNamesPastTheTableAreLeftOut) {
  Keyframe keyframe;
  keyframe.valid = 1;
  keyframe.textureCount = 1;
  keyframe.pendingIds = {0, 1, 0xFFFFFFFFu};
  keyframe.pendingRecords = {Texture(8), Texture(9), Texture(10)};
  ApplyKeyframe(keyframe);
  ASSERT_EQ(state_.textureTable.size(), 1u);
  EXPECT_EQ(state_.textureTable[0].pixels[0], 8u);
}

TEST_F(KeyframeTest, ApplyBuildsTheGridOfTheStoredSizeInOnePartition) {
  Keyframe keyframe;
  keyframe.valid = 1;
  keyframe.snapshot.fbWidth = 100;
  keyframe.snapshot.fbHeight = 50;
  ApplyKeyframe(keyframe);
  EXPECT_EQ(state_.microCols, 13);
  EXPECT_EQ(state_.tileLists.size(), 13u * 7u);
  ASSERT_EQ(state_.partitions.size(), 1u);
  EXPECT_EQ(state_.partitions[0].size(), 8u);
}

TEST_F(KeyframeTest, ApplyOfAGridThatGrewDuringTheFrameKeepsTheTables) {
  CoverViewport(state_, 64, 64);
  TakeKeyframe();
  CoverViewport(state_, 128, 64);
  Keyframe keyframe;
  BuildKeyframe(keyframe);
  ApplyKeyframe(keyframe);
  EXPECT_EQ(state_.fbWidth, 64);
  EXPECT_EQ(state_.microCols, 8);
  EXPECT_EQ(state_.tileLists.size(), 128u);
}

TEST_F(KeyframeTest, BaselineClonesTheFramesStartAndChangesNothing) {
  state_.textureTable.push_back(Texture(1));
  state_.clearColor = 1;
  TakeKeyframe();
  TouchTexture(0);
  state_.textureTable[0].pixels[0] = 50;
  state_.textureTable.push_back(Texture(2));
  state_.clearColor = 2;
  auto temp = std::make_unique<DriverState>();
  StateSnapshot snapshot = {};
  EXPECT_TRUE(CaptureBaseline(*temp, snapshot));
  EXPECT_EQ(snapshot.clearColor, 1u);
  ASSERT_EQ(temp->textureTable.size(), 1u);
  EXPECT_EQ(temp->textureTable[0].pixels[0], 1u);
  EXPECT_EQ(state_.textureTable.size(), 2u);
  EXPECT_EQ(state_.textureTable[0].pixels[0], 50u);
  EXPECT_EQ(state_.clearColor, 2u);
}

TEST_F(KeyframeTest, BaselineWithoutAKeyframeIsTheLiveState) {
  state_.textureTable.push_back(Texture(4));
  state_.clearColor = 9;
  auto temp = std::make_unique<DriverState>();
  StateSnapshot snapshot = {};
  EXPECT_FALSE(CaptureBaseline(*temp, snapshot));
  EXPECT_EQ(snapshot.clearColor, 9u);
  ASSERT_EQ(temp->textureTable.size(), 1u);
  EXPECT_FALSE(CaptureBaseline(state_, snapshot));
  EXPECT_EQ(state_.textureTable.size(), 1u);
}

TEST_F(KeyframeTest, ASteadyFrameAllocatesNothing) {
  CoverViewport(state_, 640, 480);
  for (std::uint32_t i = 0; i < 20; ++i) state_.textureTable.push_back(Texture(i));
  Keyframe keyframe;
  const auto frame = [&] {
    effect::StoreViewport(state_, 0, 0, 640, 480);
    CoverViewport(state_, 640, 480);
    effect::Begin(state_, gl::kTriangles);
    for (int i = 0; i < 30; ++i) effect::Vertex(state_, 1, 2, 3);
    effect::EndPrimitive(state_);
    BuildKeyframe(keyframe);
    ApplyKeyframe(keyframe);
    TakeKeyframe();
    RebuildWorkerTilePartition(state_, 3);
    ResetFrame(state_);
  };
  frame();
  frame();
  const auto before = test::allocations.load();
  for (int i = 0; i < 5; ++i) frame();
  EXPECT_EQ(test::allocations.load(), before);
}

}  // namespace
}  // namespace tlr2
