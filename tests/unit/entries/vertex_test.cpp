// Immediate geometry and the current colour.
#include <limits>

#include "entry_fixture.h"
#include "settings/stage_counters.h"

namespace tlr2 {
namespace {

using Vertices = Entries;

TEST_F(Vertices, AFloatColourRoundsToNearest) {
  glColor3f(0.5f, 0.5f, 0.5f);
  EXPECT_EQ(state().currentColor, 0xFF808080u);
  EXPECT_EQ(last<CmdColor>().color, 0xFF808080u);
  glColor3f(1, 1, 1);
  EXPECT_EQ(last<CmdColor>().color, 0xFFFFFFFFu);
}

TEST_F(Vertices, AFloatColourClamps) {
  glColor4f(2, -1, 0, 1);
  EXPECT_EQ(state().currentColor, 0xFFFF0000u);
  const float v[4] = {0, 2, 0, 0.5f};
  glColor4fv(v);
  EXPECT_EQ(state().currentColor, 0x8000FF00u);
  glColor3fv(v);
  EXPECT_EQ(state().currentColor, 0xFF00FF00u);
}

TEST_F(Vertices, ByteColoursArePackedAsTheyStand) {
  glColor4ub(1, 2, 3, 4);
  EXPECT_EQ(state().currentColor, 0x04010203u);
  const GLubyte v[4] = {9, 8, 7, 6};
  glColor4ubv(v);
  EXPECT_EQ(state().currentColor, 0x06090807u);
  glColor3ubv(v);
  EXPECT_EQ(state().currentColor, 0xFF090807u);
  EXPECT_EQ(last<CmdColor>().color, 0xFF090807u);
  EXPECT_EQ(recordCount(), 3u);
}

TEST_F(Vertices, ANullPointerCountsAndDoesNothingElse) {
  const std::uint64_t calls = CallsOf(Entry::glColor3fv);
  glColor4ub(1, 2, 3, 4);
  glColor3fv(nullptr);
  glColor4fv(nullptr);
  glColor3ubv(nullptr);
  glColor4ubv(nullptr);
  glTexCoord2fv(nullptr);
  glVertex2fv(nullptr);
  glVertex3fv(nullptr);
  EXPECT_EQ(CallsOf(Entry::glColor3fv), calls + 1);
  EXPECT_EQ(state().currentColor, 0x04010203u);
  EXPECT_TRUE(state().vertices.empty());
  EXPECT_EQ(recordCount(), 1u);
}

TEST_F(Vertices, AVertexTakesTheCurrentAttributes) {
  glColor4ub(10, 20, 30, 40);
  glTexCoord2f(0.25f, -3);
  glVertex3f(1, 2, 3);
  ASSERT_EQ(state().vertices.size(), 1u);
  const PacketVertex vertex = state().vertices[0];
  EXPECT_EQ(vertex.x, 1.0f);
  EXPECT_EQ(vertex.y, 2.0f);
  EXPECT_EQ(vertex.z, 3.0f);
  EXPECT_EQ(vertex.color, 0x280A141Eu);
  EXPECT_EQ(vertex.s, 0.25f);
  EXPECT_EQ(vertex.t, -3.0f);
  EXPECT_EQ(last<CmdVertex3f>().z, 3.0f);
}

TEST_F(Vertices, AFlatVertexHasZeroDepthAndATwelveByteRecord) {
  glVertex2f(1, 2);
  ASSERT_EQ(state().vertices.size(), 1u);
  EXPECT_EQ(state().vertices[0].z, 0.0f);
  EXPECT_EQ(stream().bytes.size(), 12u);
  EXPECT_EQ(last<CmdVertex2f>().y, 2.0f);
  const float v[2] = {5, 6};
  glVertex2fv(v);
  EXPECT_EQ(state().vertices[1].x, 5.0f);
  EXPECT_EQ(last<CmdVertex2f>().x, 5.0f);
}

TEST_F(Vertices, PointerFormsRecordTheirValues) {
  const float v[3] = {1.5f, 2.5f, 3.5f};
  glVertex3fv(v);
  EXPECT_EQ(last<CmdVertex3f>().y, 2.5f);
  EXPECT_EQ(state().vertices[0].z, 3.5f);
  glTexCoord2fv(v);
  EXPECT_EQ(last<CmdTexCoord2f>().t, 2.5f);
  EXPECT_EQ(state().currentS, 1.5f);
}

TEST_F(Vertices, BeginEmptiesTheVerticesAndKeepsTheMode) {
  glVertex3f(1, 2, 3);  // outside a pair: kept in state and stream
  EXPECT_EQ(state().vertices.size(), 1u);
  glBegin(gl::kTriangleFan);
  EXPECT_EQ(state().primitiveMode, gl::kTriangleFan);
  EXPECT_TRUE(state().vertices.empty());
  glVertex3f(1, 2, 3);
  glBegin(gl::kQuads);
  EXPECT_TRUE(state().vertices.empty());
  EXPECT_EQ(state().primitiveMode, gl::kQuads);
}

TEST_F(Vertices, PointsAndNoPrimitiveShareTheModeZero) {
  glBegin(gl::kQuads);
  glBegin(gl::kPoints);
  EXPECT_EQ(state().primitiveMode, 0u);
}

TEST_F(Vertices, EndClosesThePrimitiveAndKeepsTheCapacity) {
  glBegin(gl::kTriangles);
  for (int i = 0; i < 100; ++i) glVertex3f(0, 0, 0);
  const std::size_t capacity = state().vertices.capacity();
  glEnd();
  EXPECT_EQ(state().primitiveMode, 0u);
  EXPECT_TRUE(state().vertices.empty());
  EXPECT_EQ(state().vertices.capacity(), capacity);
  glEnd();  // without a begin: recorded all the same
  EXPECT_EQ(records().back().id, static_cast<std::uint32_t>(Cmd::End));
  EXPECT_EQ(recordCount(), 103u);
}

TEST_F(Vertices, EndCountsItsStageWhenTimingIsOn) {
  StageCounters& stages = StageCountersInstance();
  const std::uint64_t before = stages.counts[0].load();
  glEnd();
  EXPECT_EQ(stages.counts[0].load(), before);
  SetStageTiming(true);
  glEnd();
  SetStageTiming(false);
  EXPECT_EQ(stages.counts[0].load(), before + 1);
}

TEST_F(Vertices, CallsForWhichStreamAndVerticesMustGrowLoseNothing) {
  stream().bytes.reset();
  state().vertices.reset();
  constexpr int kRounds = 300;
  const std::uint64_t calls = CallsOf(Entry::glVertex3f);
  for (int i = 0; i < kRounds; ++i) {
    const auto f = static_cast<float>(i);
    glTexCoord2f(f, -f);
    glColor4ub(static_cast<GLubyte>(i), 2, 3, 4);
    glVertex3f(f, f + 1, f + 2);
    glColor4f(1, 0, 0, f / kRounds);
    glVertex2f(f, f + 3);
  }
  EXPECT_EQ(CallsOf(Entry::glVertex3f), calls + kRounds);
  const std::vector<RecordAt> all = records();
  ASSERT_EQ(all.size(), 5u * kRounds);
  ASSERT_EQ(state().vertices.size(), 2u * kRounds);
  for (std::size_t i = 0; i < kRounds; ++i) {
    const auto f = static_cast<float>(i);
    const Cmd ids[5] = {Cmd::TexCoord2f, Cmd::Color, Cmd::Vertex3f, Cmd::Color, Cmd::Vertex2f};
    for (std::size_t k = 0; k < 5; ++k) ASSERT_EQ(all[5 * i + k].id, static_cast<std::uint32_t>(ids[k])) << i;
    ASSERT_EQ(ReadRecord<CmdTexCoord2f>(all[5 * i].bytes, 12).t, -f);
    ASSERT_EQ(ReadRecord<CmdVertex3f>(all[5 * i + 2].bytes, 16).z, f + 2);
    ASSERT_EQ(ReadRecord<CmdVertex2f>(all[5 * i + 4].bytes, 12).y, f + 3);
    const PacketVertex solid = state().vertices[2 * i], flat = state().vertices[2 * i + 1];
    ASSERT_EQ(solid.color, 0x04000203u | static_cast<std::uint32_t>(i & 0xFF) << 16);
    ASSERT_EQ(solid.z, f + 2);
    ASSERT_EQ(solid.s, f);
    ASSERT_EQ(flat.color, ReadRecord<CmdColor>(all[5 * i + 3].bytes, 8).color);
    ASSERT_EQ(flat.y, f + 3);
    ASSERT_EQ(flat.z, 0.0f);
  }
  stream().bytes.reserve(kStreamReserve);
}

TEST_F(Vertices, AWarmFrameAllocatesNothing) {
  for (int frame = 0; frame < 2; ++frame) {
    stream().bytes.clear();
    const std::uint8_t* bytes = stream().bytes.data();
    glBegin(gl::kTriangles);
    const PacketVertex* block = state().vertices.data();
    for (int i = 0; i < 3000; ++i) {
      glTexCoord2f(0, 0);
      glColor4f(1, 1, 1, 1);
      glVertex3f(0, 0, 0);
    }
    if (frame == 1) {
      EXPECT_EQ(stream().bytes.data(), bytes);
      EXPECT_EQ(state().vertices.data(), block);
    }
    glEnd();
  }
}

}  // namespace
}  // namespace tlr2
