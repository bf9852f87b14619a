// Set-up, assembly and emission: the records of a frame, bit for bit.
#include "frame/emission.h"

#include <gtest/gtest.h>

#include <cstring>

#include "frame_fixture.h"
#include "random_packets.h"
#include "scalar_emission.h"
#include "settings/stage_counters.h"
#include "tiles/queue/render_job_queue.h"

using namespace tlr2;
using namespace frame_test;

namespace {

ClipVertex At(float x, float y, float z, float w) { return {x, y, z, w, 0xFFFFFFFFu, 0, 0}; }

NativePacket PlainPacket(std::uint32_t mode, std::uint32_t vertexCount) {
  NativePacket p = {};
  p.mode = mode;
  p.vertexCount = vertexCount;
  for (int i = 0; i < 16; i += 5) p.mvp[i] = 1.0f;
  p.viewportW = 640;
  p.viewportH = 480;
  p.depthFar = 1;
  p.cullMode = 0x0405;
  p.frontFace = 0x0901;
  p.triangleTemplate.textureIndex = kNoTexture;
  return p;
}

class Emission : public Frame {
 protected:
  ~Emission() override {
    SetStageTiming(false);
    RJQ::StopPool();
  }
  /// Random packets of all modes into the driver state; returns what the judge makes of them.
  std::vector<TriangleRecord> FillFrame(RandomFrame& random, std::size_t vertices, float reach,
                                        std::uint32_t largest = 40) {
    state.packets.clear();
    state.packetVertices.clear();
    std::vector<TriangleRecord> want;
    const ScalarSwitches switches = {Settings().disableHiZ != 0, Settings().disableFaceCull != 0};
    while (state.packetVertices.size() < vertices) {
      const std::size_t left = vertices - state.packetVertices.size();
      std::uint32_t count = 3 + random.Below(largest - 2);
      if (count > left || left - count < 3) count = static_cast<std::uint32_t>(left);
      const NativePacket packet =
          random.Packet(1 + random.Below(10), static_cast<std::uint32_t>(state.packetVertices.size()), count);
      const float packetReach = random.Below(2) == 0 ? 0.5f : reach;
      for (std::uint32_t i = 0; i < count; ++i) state.packetVertices.push_back(random.Vertex(packetReach));
      state.packets.push_back(packet);
      ScalarEmit(packet, state.packetVertices.data(), switches, want);
    }
    return want;
  }
  void ExpectTriangles(const std::vector<TriangleRecord>& want) {
    ASSERT_EQ(state.triangles.size(), want.size());
    for (std::size_t i = 0; i < want.size(); ++i) ASSERT_TRUE(SameBytes(state.triangles[i], want[i])) << i;
  }
};

using TriangleSetup = Emission;

/// Jobs that `work` gave the pool.
template <typename Work>
int PoolJobs(Work work) {
  const auto ticket = [] {
    const RJQ::JobRange one = {{}, 1};
    const std::int32_t taken =
        RJQ::Enqueue(*RJQ::Pool(), RJQ::kTaskJob, one, [](const RJQ::JobRange*, std::int32_t, void*) {}, nullptr);
    RJQ::WaitIdle(*RJQ::Pool());
    return taken;
  };
  const std::int32_t before = ticket();
  work();
  return ticket() - before - 1;
}

}  // namespace

TEST_F(TriangleSetup, TopAndBottomOfTheViewport) {
  const NativePacket packet = PlainPacket(4, 3);
  const ClipVertex v[3] = {At(0, 1, 0, 1), At(0, -1, 0, 1), At(1, 0, 0, 1)};
  TriangleRecord r;
  ASSERT_TRUE(SetupTriangle(v, packet, &r));
  EXPECT_EQ(r.y[0], 0.0f);
  EXPECT_EQ(r.y[1], 480.0f);
  EXPECT_EQ(r.x[2], 640.0f);
  EXPECT_EQ(r.z[0], 0.5f);
}

TEST_F(TriangleSetup, AViewportYMovesThePictureDown) {
  NativePacket packet = PlainPacket(4, 3);
  packet.viewportY = 100;
  packet.viewportX = 7;
  const ClipVertex v[3] = {At(-1, 1, 0, 1), At(0, -1, 0, 1), At(1, 0, 0, 1)};
  TriangleRecord r;
  ASSERT_TRUE(SetupTriangle(v, packet, &r));
  EXPECT_EQ(r.y[0], 100.0f);
  EXPECT_EQ(r.y[1], 580.0f);
  EXPECT_EQ(r.x[0], 7.0f);
}

TEST_F(TriangleSetup, DepthRangeMayBeInverted) {
  NativePacket packet = PlainPacket(4, 3);
  packet.depthNear = 1;
  packet.depthFar = 0;
  const ClipVertex v[3] = {At(0, 1, -1, 1), At(0, -1, 1, 1), At(1, 0, 0, 1)};
  TriangleRecord r;
  ASSERT_TRUE(SetupTriangle(v, packet, &r));
  EXPECT_EQ(r.z[0], 1.0f);
  EXPECT_EQ(r.z[1], 0.0f);
  EXPECT_EQ(r.zMin, 0.0f);
  EXPECT_EQ(r.zMax, 1.0f);
}

TEST_F(TriangleSetup, NoPositiveWRejectsWithoutWriting) {
  const NativePacket packet = PlainPacket(4, 3);
  for (const float w : {0.0f, -0.0f, -1.0f}) {
    const ClipVertex v[3] = {At(0, 0, 0, 1), At(0, 0, 0, 1), At(0, 0, 0, w)};
    TriangleRecord r, before;
    std::memset(&r, 0xAB, sizeof r);
    before = r;
    EXPECT_FALSE(SetupTriangle(v, packet, &r));
    EXPECT_TRUE(SameBytes(r, before));
  }
}

TEST_F(TriangleSetup, HierarchicalDepthSwitchOpensTheBounds) {
  Settings().disableHiZ = 1;
  const ClipVertex v[3] = {At(0, 1, 0, 1), At(0, -1, 0, 1), At(1, 0, 0, 1)};
  TriangleRecord r;
  ASSERT_TRUE(SetupTriangle(v, PlainPacket(4, 3), &r));
  EXPECT_EQ(std::bit_cast<std::uint32_t>(r.zMin), 0xF149F2CAu);
  EXPECT_EQ(std::bit_cast<std::uint32_t>(r.zMax), 0x7149F2CAu);
}

TEST_F(TriangleSetup, FaceCulling) {
  const ClipVertex counterClockwise[3] = {At(0, 0, 0, 1), At(0.5f, 0, 0, 1), At(0, 0.5f, 0, 1)};
  const ClipVertex clockwise[3] = {counterClockwise[0], counterClockwise[2], counterClockwise[1]};
  const ClipVertex flat[3] = {counterClockwise[0], counterClockwise[0], counterClockwise[1]};
  struct Case {
    std::uint32_t cullMode, frontFace;
    bool ccw, cw, zero;
  };
  const Case cases[] = {
      {0x0405, 0x0901, true, false, false}, {0x0404, 0x0901, false, true, true},   {0x0405, 0x0900, false, true, false},
      {0x0404, 0x0900, true, false, true},  {0x0408, 0x0901, false, false, false}, {0x1234, 0x0901, true, true, true},
      {0x0405, 0x7777, false, true, false},  // any other front face: as clockwise
  };
  TriangleRecord r;
  for (const Case& c : cases) {
    NativePacket packet = PlainPacket(4, 3);
    packet.cullEnabled = 1;
    packet.cullMode = c.cullMode;
    packet.frontFace = c.frontFace;
    EXPECT_EQ(SetupTriangle(counterClockwise, packet, &r), c.ccw);
    EXPECT_EQ(SetupTriangle(clockwise, packet, &r), c.cw);
    EXPECT_EQ(SetupTriangle(flat, packet, &r), c.zero);
    Settings().disableFaceCull = 1;
    EXPECT_TRUE(SetupTriangle(clockwise, packet, &r));
    Settings().disableFaceCull = 0;
    packet.cullEnabled = 0;
    EXPECT_TRUE(SetupTriangle(clockwise, packet, &r));
  }
}

TEST_F(Emission, CountsOfEachMode) {
  RandomFrame random(10);
  std::vector<PacketVertex> vertices;
  for (int i = 0; i < 32; ++i) vertices.push_back(random.Vertex(0.4f));
  const auto count = [&](std::uint32_t mode, std::uint32_t n) {
    return EmitPacket(PlainPacket(mode, n), vertices.data(), nullptr);
  };
  EXPECT_EQ(count(4, 4), 1u);
  EXPECT_EQ(count(4, 5), 1u);
  EXPECT_EQ(count(4, 6), 2u);
  EXPECT_EQ(count(4, 2), 0u);
  EXPECT_EQ(count(5, 3), 1u);
  EXPECT_EQ(count(5, 7), 5u);
  EXPECT_EQ(count(6, 7), 5u);
  EXPECT_EQ(count(9, 7), 5u);
  EXPECT_EQ(count(7, 3), 0u);
  EXPECT_EQ(count(7, 7), 2u);
  EXPECT_EQ(count(7, 8), 4u);
  EXPECT_EQ(count(8, 3), 0u);
  EXPECT_EQ(count(8, 5), 2u);
  EXPECT_EQ(count(8, 6), 4u);
  for (const std::uint32_t mode : {0u, 1u, 2u, 3u, 10u, 0xFFFFFFFFu}) EXPECT_EQ(count(mode, 12), 0u);
}

TEST_F(Emission, VertexOrderOfEachMode) {
  std::vector<PacketVertex> vertices;
  for (std::uint32_t i = 0; i < 30; ++i) vertices.push_back({0, 0, 0, i, 0, 0});
  for (std::uint32_t mode = 0; mode < 11; ++mode) {
    for (std::uint32_t n = 3; n < 30; ++n) {
      const std::vector<std::uint32_t> want = ScalarAssembly(mode, n);
      std::vector<TriangleRecord> out(10 * n + 8);
      const std::uint32_t count = EmitPacket(PlainPacket(mode, n), vertices.data(), out.data());
      ASSERT_EQ(count * 3, want.size());
      for (std::uint32_t i = 0; i < count; ++i) {
        for (std::uint32_t k = 0; k < 3; ++k) ASSERT_EQ(out[i].color[k], want[3 * i + k]) << mode << " " << n;
      }
    }
  }
}

TEST_F(Emission, AStripHasOneWinding) {
  NativePacket packet = PlainPacket(5, 4);
  packet.cullEnabled = 1;
  const PacketVertex strip[4] = {
      {0, 0, 0, 0, 0, 0}, {0.5f, 0, 0, 1, 0, 0}, {0, 0.5f, 0, 2, 0, 0}, {0.5f, 0.5f, 0, 3, 0, 0}};
  TriangleRecord out[48];
  ASSERT_EQ(EmitPacket(packet, strip, out), 2u);
  EXPECT_EQ(out[1].color[0], 2u);
  EXPECT_EQ(out[1].color[1], 1u);
  EXPECT_EQ(out[1].color[2], 3u);
  packet.cullMode = 0x0404;
  EXPECT_EQ(EmitPacket(packet, strip, nullptr), 0u);
}

/// What the judge makes of the triangle `v`, having held each record and its state words against it.
std::size_t ExpectFanWithOneState(NativePacket packet, const PacketVertex v[3]) {
  auto& words = packet.triangleTemplate;
  std::uint32_t next = 0x12345670u;
  for (std::uint32_t* word : {&words.textureIndex, &words.blendMode, &words.alphaTest, &words.depthTest,
                              &words.depthFunc, &words.depthWrite, &words.texEnvMode, &words.texEnvColor})
    *word = next++;
  TriangleRecord out[48];
  const std::uint32_t count = EmitPacket(packet, v, out);
  std::vector<TriangleRecord> want;
  ScalarEmit(packet, v, {}, want);
  EXPECT_EQ(count, want.size());
  for (std::uint32_t i = 0; i < count && i < want.size(); ++i) {
    EXPECT_TRUE(SameBytes(out[i], want[i])) << i;
    EXPECT_EQ(out[i].textureIndex, words.textureIndex);
    EXPECT_EQ(out[i].blendMode, words.blendMode);
    EXPECT_EQ(out[i].alphaTest, words.alphaTest);
    EXPECT_EQ(out[i].depthTest, words.depthTest);
    EXPECT_EQ(out[i].depthFunc, words.depthFunc);
    EXPECT_EQ(out[i].depthWrite, words.depthWrite);
    EXPECT_EQ(out[i].texEnvMode, words.texEnvMode);
    EXPECT_EQ(out[i].texEnvColor, words.texEnvColor);
  }
  return count;
}

TEST_F(Emission, NearPlaneMakesAFanWithOneState) {
  NativePacket packet = PlainPacket(4, 3);
  packet.mvp[10] = -11.0f / 9;  // a frustum from 1 to 10
  packet.mvp[11] = -1;
  packet.mvp[14] = -20.0f / 9;
  packet.mvp[15] = 0;
  const PacketVertex far[3] = {{0, 0, -3, 1, 0, 0}, {0.1f, 0, -3, 2, 0, 0}, {0, 0.1f, -2, 3, 0, 0}};
  EXPECT_EQ(ExpectFanWithOneState(packet, far), 1u);
  const PacketVertex oneNear[3] = {far[0], far[1], {0, 0.1f, -0.5f, 3, 0, 0}};
  EXPECT_EQ(ExpectFanWithOneState(packet, oneNear), 2u);
  const PacketVertex oneBehind[3] = {far[0], far[1], {0, 0.1f, 9, 3, 0, 0}};
  EXPECT_GE(ExpectFanWithOneState(packet, oneBehind), 2u);
}

TEST_F(Emission, ATriangleAcrossAllSixPlanesMakesTheLargestFan) {
  // A plane cuts the cube of view in a hexagon, and each side of the triangle takes one of its corners: nine.
  constexpr float kOut = 1.84f;
  const PacketVertex v[3] = {
      {-kOut, kOut, 0, 0xFF0000FFu, 0, 0}, {0, -kOut, kOut, 0xFF00FF00u, 1, 0}, {kOut, 0, -kOut, 0xFFFF0000u, 0, 1}};
  EXPECT_EQ(ExpectFanWithOneState(PlainPacket(4, 3), v), 7u);
}

TEST_F(Emission, FanTrianglesShareTheirInnerEdges) {
  RandomFrame random(11);
  int fans = 0;
  for (int i = 0; i < 2000; ++i) {
    NativePacket packet = random.Packet(4, 0, 3);
    packet.cullEnabled = 0;
    const PacketVertex v[3] = {random.Vertex(3), random.Vertex(3), random.Vertex(3)};
    TriangleRecord out[48];
    const std::uint32_t count = EmitPacket(packet, v, out);
    for (std::uint32_t k = 1; k < count; ++k, ++fans) {
      EXPECT_EQ(out[k].x[0], out[0].x[0]);
      EXPECT_EQ(out[k].x[1], out[k - 1].x[2]);
      EXPECT_EQ(out[k].y[1], out[k - 1].y[2]);
      EXPECT_EQ(out[k].invW[1], out[k - 1].invW[2]);
    }
  }
  EXPECT_GT(fans, 500);
}

TEST_F(Emission, CountingAloneEqualsWriting) {
  RandomFrame random(12);
  for (int i = 0; i < 500; ++i) {
    const NativePacket packet = random.Packet(1 + random.Below(10), 0, 3 + random.Below(20));
    std::vector<PacketVertex> v;
    for (std::uint32_t k = 0; k < packet.vertexCount; ++k) v.push_back(random.Vertex(2));
    std::vector<TriangleRecord> out(10 * packet.vertexCount + 8);
    EXPECT_EQ(EmitPacket(packet, v.data(), nullptr), EmitPacket(packet, v.data(), out.data()));
  }
}

TEST_F(Emission, EqualsTheScalarFormOnRandomFrames) {
  RandomFrame random(13);
  for (int i = 0; i < 60; ++i) {
    Settings().disableHiZ = i % 5 == 0;
    Settings().disableFaceCull = i % 7 == 0;
    const auto want = FillFrame(random, 600, i % 2 == 0 ? 1.5f : 4.0f);
    EXPECT_TRUE(EmitTriangles(false));
    ExpectTriangles(want);
    EXPECT_EQ(state.buildStats.triangleCount, want.size());
  }
}

TEST_F(Emission, LongPrimitivesEqualTheScalarForm) {
  // Longer than any inner block of the bulk transform, with every tail length.
  RandomFrame random(14);
  for (std::uint32_t extra = 0; extra < 13; ++extra) {
    for (std::uint32_t mode = 4; mode <= 9; ++mode) {
      state.packets.clear();
      state.packetVertices.clear();
      const std::uint32_t count = 1000 + extra;
      for (std::uint32_t i = 0; i < count + 5; ++i) state.packetVertices.push_back(random.Vertex(1.0f));
      const NativePacket packet = random.Packet(mode, 5, count);
      state.packets.push_back(packet);
      std::vector<TriangleRecord> want;
      ScalarEmit(packet, state.packetVertices.data(), {}, want);
      EmitTriangles(false);
      ExpectTriangles(want);
    }
  }
}

TEST_F(Emission, PrimitivesBesideTheViewEqualTheScalarForm) {
  // Whole blocks outside of one plane or of two, with now and then a vertex that is not.
  RandomFrame random(16);
  std::size_t drawn = 0;
  for (std::uint32_t i = 0; i < 400; ++i) {
    state.packets.clear();
    state.packetVertices.clear();
    const std::uint32_t count = 3 + random.Below(700);
    const int axis = static_cast<int>(random.Below(3)), other = static_cast<int>(random.Below(3));
    const float side = random.Below(2) == 0 ? 6.0f : -6.0f, otherSide = random.Below(2) == 0 ? 3.0f : 0.0f;
    for (std::uint32_t k = 0; k < count; ++k) {
      PacketVertex v = random.Vertex(1.0f);
      if (i % 4 == 0 || random.Below(300) != 0) {
        float* position[] = {&v.x, &v.y, &v.z};
        *position[other] += otherSide;
        *position[axis] += side;
      }
      state.packetVertices.push_back(v);
    }
    const NativePacket packet = random.Packet(4 + i % 6, 0, count);
    state.packets.push_back(packet);
    std::vector<TriangleRecord> want;
    ScalarEmit(packet, state.packetVertices.data(), {}, want);
    EmitTriangles(false);
    ExpectTriangles(want);
    drawn += want.size();
  }
  EXPECT_GT(drawn, 100u);
}

TEST_F(Emission, WildCoordinatesEqualTheScalarForm) {
  RandomFrame random(15);
  const float special[] = {
      0.0f, -0.0f, 1e-40f, 3e38f, std::bit_cast<float>(0x7F800000u), 1.0f, -1.0f, std::bit_cast<float>(0x7FC00000u)};
  for (int i = 0; i < 300; ++i) {
    state.packets.clear();
    state.packetVertices.clear();
    NativePacket packet = random.Packet(4 + random.Below(6), 0, 60);
    for (float& m : packet.mvp) {
      if (random.Below(4) == 0) m = special[random.Below(8)];
    }
    const auto coordinate = [&] {
      return random.Below(3) == 0   ? special[random.Below(8)]
             : random.Below(4) == 0 ? random.Wild()
                                    : random.Uniform(-1, 1);
    };
    for (int k = 0; k < 60; ++k) {
      state.packetVertices.push_back(
          {coordinate(), coordinate(), coordinate(), random.Word(), coordinate(), coordinate()});
    }
    state.packets.push_back(packet);
    std::vector<TriangleRecord> want;
    ScalarEmit(packet, state.packetVertices.data(), {}, want);
    EmitTriangles(false);
    ASSERT_EQ(state.triangles.size(), want.size()) << i;
    for (std::size_t k = 0; k < want.size(); ++k) ASSERT_TRUE(SameRecord(state.triangles[k], want[k])) << i;
  }
}

TEST_F(Emission, ZeroMatricesDrawNothing) {
  // The state before the application loads a matrix: w = 0.
  NativePacket packet = PlainPacket(4, 3);
  std::memset(packet.mvp, 0, sizeof packet.mvp);
  for (int i = 0; i < 3; ++i) state.packetVertices.push_back({1, 2, 3, 0, 0, 0});
  state.packets.push_back(packet);
  EXPECT_TRUE(EmitTriangles(true));
  EXPECT_TRUE(state.triangles.empty());
}

TEST_F(Emission, TimedStagesGiveTheSameRecords) {
  RandomFrame random(16);
  const auto want = FillFrame(random, 500, 3);
  StageCounters& stages = StageCountersInstance();
  const std::uint64_t before = stages.counts[4];
  SetStageTiming(true);
  EmitTriangles(false);
  SetStageTiming(false);
  ExpectTriangles(want);
  EXPECT_GT(stages.counts[4], before);
  const std::uint64_t after = stages.counts[4];
  EmitTriangles(false);
  EXPECT_EQ(stages.counts[4], after);
}

TEST_F(Emission, NoPacketsLeaveNoTriangles) {
  state.triangles.push_back({});
  state.buildStats.triangleCount = 9;
  EXPECT_TRUE(EmitTriangles(true));
  EXPECT_TRUE(state.triangles.empty());
  EXPECT_EQ(state.buildStats.triangleCount, 0u);
}

TEST_F(Emission, TheParallelFormNeedsVerticesAndWorkers) {
  ASSERT_TRUE(RJQ::StartPool(64, 2));
  const int workers = ActiveWorkerCount();
  EXPECT_EQ(EmissionJobCount(true, 1000, 32767), 1);
  EXPECT_EQ(EmissionJobCount(true, 1000, 32768), workers);
  EXPECT_EQ(EmissionJobCount(false, 1000, 32768), 1);
  EXPECT_EQ(EmissionJobCount(true, 1, 40000), 1);
  Settings().workerLimit = 1;
  EXPECT_EQ(EmissionJobCount(true, 1000, 32768), 1);
  Settings().workerLimit = 0;
  RJQ::StopPool();
  EXPECT_EQ(EmissionJobCount(true, 1000, 40000), 1);
}

TEST_F(Emission, TheThresholdIsExactAndTheReplayThreadHandsThePermissionOn) {
  ASSERT_TRUE(RJQ::StartPool(64, 2));
  if (ActiveWorkerCount() < 2) GTEST_SKIP();
  RandomFrame random(21);
  FillFrame(random, 32767, 0.5f);
  EXPECT_EQ(PoolJobs([] { EmitTriangles(true); }), 0);
  FillFrame(random, 32768, 0.5f);
  EXPECT_EQ(PoolJobs([] { EmitTriangles(true); }), 1);
  EXPECT_EQ(PoolJobs([] { EmitTriangles(false); }), 0);
  FrameJob job;
  StreamBuilder frame;
  for (int i = 0; i < 32768 / 3 + 1; ++i) frame.Triangle();
  job.stream.bytes = frame.stream.bytes;
  EXPECT_EQ(PoolJobs([&job] { RunFrameBuild(job, true); }), 1);
  EXPECT_EQ(PoolJobs([&job] { RunFrameBuild(job, false); }), 0);
  StopReplayThread();
}

TEST_F(Emission, TheParallelFormIsByteIdentical) {
  for (const int workers : {2, 3, 5}) {
    if (!RJQ::StartPool(64, workers)) GTEST_SKIP();
    RandomFrame random(17);
    for (const std::size_t vertices : {32768u, 40001u}) {
      for (const float reach : {0.4f, 1.5f, 5.0f}) {  // nothing clipped; some; most
        Settings().disableFaceCull = reach < 1 ? 1 : 0;
        FillFrame(random, vertices, reach, 500);
        EmitTriangles(false);
        const std::vector<TriangleRecord> single(state.triangles.begin(), state.triangles.end());
        EmitTriangles(true);
        ExpectTriangles(single);
      }
    }
    RJQ::StopPool();
  }
}

TEST_F(Emission, ClippingThatMultipliesTriangles) {
  // Every triangle is larger than the view on all sides, so that each gives several records.
  ASSERT_TRUE(RJQ::StartPool(64, 2));
  RandomFrame random(18);
  NativePacket packet = PlainPacket(4, 300);
  for (std::uint32_t p = 0; p < 120; ++p) {
    packet.firstVertex = p * 300;
    for (int k = 0; k < 100; ++k) {
      const float size = random.Uniform(1.2f, 1.7f);
      state.packetVertices.push_back({-size, -size * 0.9f, -size, 1, 0, 0});
      state.packetVertices.push_back({size, -size, size * 0.3f, 2, 1, 0});
      state.packetVertices.push_back({random.Uniform(-1, 1), size, 0.1f, 3, 0, 1});
    }
    state.packets.push_back(packet);
  }
  std::vector<TriangleRecord> want;
  for (const NativePacket& p : state.packets) ScalarEmit(p, state.packetVertices.data(), {}, want);
  ASSERT_GT(want.size(), state.packetVertices.size());
  EmitTriangles(false);
  ExpectTriangles(want);
  EmitTriangles(true);
  ExpectTriangles(want);
}

TEST_F(Emission, JobsCoverAllPacketsOnce) {
  RandomFrame random(19);
  const auto want = FillFrame(random, 2000, 2);
  for (const int jobs : {1, 2, 3, 7}) {
    std::vector<TriangleVector> outputs(static_cast<std::size_t>(jobs));
    EmitJobContext context = {&state.packets, state.packetVertices.data(), jobs, outputs.data()};
    std::vector<TriangleRecord> all;
    for (int job = 0; job < jobs; ++job) {
      EmitPacketRange(job, &context);
      all.insert(all.end(), outputs[job].begin(), outputs[job].end());
    }
    ASSERT_EQ(all.size(), want.size());
    for (std::size_t i = 0; i < all.size(); ++i) ASSERT_TRUE(SameBytes(all[i], want[i]));
  }
}

TEST_F(Emission, ReservesWhatAssemblyYields) {
  // 300,000 vertices must not ask for hundreds of megabytes: 100,000 triangles of 128 bytes and little more.
  RandomFrame random(20);
  NativePacket packet = PlainPacket(4, 300000);
  for (int i = 0; i < 300000; ++i) state.packetVertices.push_back(random.Vertex(0.5f));
  state.packets.push_back(packet);
  EmitTriangles(false);
  EXPECT_EQ(state.triangles.size(), 100000u);
  EXPECT_LT(state.triangles.capacity(), 101000u);
}
