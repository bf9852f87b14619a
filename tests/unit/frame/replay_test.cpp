// The frame's build: keyframe, inline form, replay thread, and no allocation in a steady frame.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "allocation_counter.h"
#include "frame_fixture.h"
#include "platform/clock.h"
#include "random_packets.h"
#include "textures/texture_ops.h"
#include "tiles/grid/grid.h"
#include "tiles/queue/render_job_queue.h"

using namespace tlr2;
using namespace frame_test;

namespace {

class Replays : public Frame {
 protected:
  Replays() { UseIdentity(); }
  ~Replays() override {
    StopReplayThread();
    CommandStreamInstance() = CommandStream();
    LiveKeyframeInstance() = LiveKeyframe();
  }
};

}  // namespace

TEST_F(Replays, RewindsToTheKeyframe) {
  TakeKeyframe();
  Keyframe keyframe;
  BuildKeyframe(keyframe);
  state.currentColor = 5;
  state.matrixStacks[0][0][0] = 7;
  state.textureTable.resize(3);
  builder.Triangle().Put(kSwapBuffers);
  EXPECT_TRUE(ReplayFrame(builder.stream, &keyframe, false));
  EXPECT_EQ(state.packetVertices[0].color, 0xFFFFFFFFu);
  EXPECT_EQ(state.packets[0].mvp[0], 1.0f);
  EXPECT_TRUE(state.textureTable.empty());
}

TEST_F(Replays, AnInvalidKeyframeRewindsNothing) {
  Keyframe keyframe;
  state.currentColor = 5;
  builder.Triangle().Put(kSwapBuffers);
  EXPECT_TRUE(ReplayFrame(builder.stream, &keyframe, false));
  EXPECT_EQ(state.packetVertices[0].color, 5u);
}

TEST_F(Replays, TwoReplaysAreTheSame) {
  builder.Put(kTranslatef, {-0.1f, 0.0f, 0.0f}).Put(kGenTextures, {2, 0}).Triangle().Put(kSwapBuffers);
  TakeKeyframe();
  Keyframe keyframe;
  BuildKeyframe(keyframe);
  ReplayFrame(builder.stream, &keyframe, false);
  const TriangleRecord first = state.triangles[0];
  state.publishedTriangleCount = 1;
  ReplayFrame(builder.stream, &keyframe, false);
  ASSERT_EQ(state.triangles.size(), 1u);
  EXPECT_EQ(state.packetVertices.size(), 3u);
  EXPECT_EQ(state.packets[0].serial, 0u);
  EXPECT_EQ(state.textureTable.size(), 3u);
  EXPECT_TRUE(SameBytes(state.triangles[0], first));
}

TEST_F(Replays, TheThreadReplaysWhileTheCallerWaits) {
  ASSERT_TRUE(StartReplayThread());
  ASSERT_TRUE(StartReplayThread());  // already there
  for (int frame = 0; frame < 200; ++frame) {
    FrameJob job;
    job.stream.baseSequence = 77;
    StreamBuilder b;
    b.Put(kColor, {frame}).Triangle().Put(kSwapBuffers);
    job.stream.bytes = b.stream.bytes;
    BuildKeyframe(job.keyframe);
    ASSERT_TRUE(RunFrameBuild(job, true));
    ASSERT_EQ(state.triangles.size(), 1u);
    ASSERT_EQ(state.triangles[0].color[0], static_cast<std::uint32_t>(frame));
    ASSERT_EQ(state.buildStats.replaySource, 1u);
    ASSERT_LT(state.buildStats.replayWaitTicks, static_cast<std::uint64_t>(TicksPerSecond()) * 10);
    ASSERT_EQ(state.buildStats.records, 7u);
  }
}

TEST_F(Replays, AUseStartsTheThreadAndAStopLeavesItRestartable) {
  for (int round = 0; round < 3; ++round) {
    FrameJob job;
    job.stream.bytes = StreamBuilder().Triangle().Put(kSwapBuffers).stream.bytes;
    ASSERT_TRUE(RunFrameBuild(job, false));
    EXPECT_EQ(state.buildStats.replaySource, 1u);
    EXPECT_EQ(state.triangles.size(), 1u);
    StopReplayThread();
    StopReplayThread();
  }
}

TEST_F(Replays, TheInlineFormUsesTheLiveStream) {
  CommandStreamInstance().bytes = StreamBuilder().Triangle().Put(kSwapBuffers).stream.bytes;
  EXPECT_TRUE(RunFrameBuildInline(false));
  EXPECT_EQ(state.triangles.size(), 1u);
  EXPECT_EQ(state.buildStats.replaySource, 2u);
  EXPECT_EQ(state.buildStats.replayWaitTicks, 0u);
}

TEST_F(Replays, WithoutRecordingTheInlineFormOnlyRestores) {
  TakeKeyframe();
  state.currentColor = 5;
  state.vertices.push_back({});
  Settings().pipelineCutoff = 0;
  EXPECT_TRUE(RunFrameBuildInline(false));
  EXPECT_EQ(state.currentColor, 0xFFFFFFFFu);
  EXPECT_TRUE(state.vertices.empty());
  EXPECT_TRUE(state.packets.empty());
}

TEST_F(Replays, ASteadyFrameAllocatesNothing) {
  RandomFrame random(30);
  ResizeTileGrid(state, 640, 480);
  for (int p = 0; p < 300; ++p) {
    builder.Put(kTranslatef, {random.Uniform(-0.1f, 0.1f), 0.0f, 0.0f}).Put(kBegin, {4 + p % 6});
    for (int i = 0; i < 30; ++i) {
      const PacketVertex v = random.Vertex(p % 3 == 0 ? 3.0f : 0.5f);
      builder.Put(kTexCoord2f, {v.s, v.t}).Put(kColor, {v.color}).Put(kVertex3f, {v.x, v.y, v.z});
    }
    builder.Put(kEnd);
  }
  builder.Put(kGenTextures, {0, 0}).Put(kSwapBuffers);
  TakeKeyframe();
  Keyframe keyframe;
  BuildKeyframe(keyframe);
  for (int i = 0; i < 3; ++i) ReplayFrame(builder.stream, &keyframe, true);
  EXPECT_GT(state.triangles.size(), 1000u);
  const std::uint64_t before = tlr2::test::allocations;
  ReplayFrame(builder.stream, &keyframe, true);
  EXPECT_EQ(tlr2::test::allocations - before, 0u);
}

TEST_F(Replays, TheSteadyParallelFrameAllocatesNothingForTriangles) {
  // What is left is bounded by the jobs, not by the triangles.
  if (!RJQ::StartPool(64, 2)) GTEST_SKIP();
  RandomFrame random(31);
  for (int p = 0; p < 400; ++p) {
    builder.Put(kBegin, {4});
    for (int i = 0; i < 120; ++i) {
      const PacketVertex v = random.Vertex(p % 3 == 0 ? 3.0f : 0.5f);
      builder.Put(kVertex3f, {v.x, v.y, v.z});
    }
    builder.Put(kEnd);
  }
  builder.Put(kSwapBuffers);
  // Both workers take part once, so that each has its profile; on a busy machine one may sleep through whole frames.
  std::atomic<int> arrived{0};
  ParallelFor(
      2,
      [](std::int32_t, void* counter) {
        auto& here = *static_cast<std::atomic<int>*>(counter);
        ++here;
        while (here < 2) std::this_thread::yield();
      },
      &arrived);
  for (int i = 0; i < 3; ++i) ReplayFrame(builder.stream, nullptr, true);
  const std::uint64_t before = tlr2::test::allocations;
  ReplayFrame(builder.stream, nullptr, true);
  EXPECT_EQ(tlr2::test::allocations - before, 0u);
  RJQ::StopPool();
}
