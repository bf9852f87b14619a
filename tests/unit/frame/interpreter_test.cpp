// The walk over a frame's records.
#include <gtest/gtest.h>

#include <cmath>

#include "frame/surface_cover.h"
#include "frame_fixture.h"
#include "platform/thread_block.h"
#include "textures/texture_ops.h"
#include "tiles/grid/grid.h"

using namespace tlr2;
using namespace frame_test;

using Interpreter = Frame;

namespace {

const float* Top(const DriverState& state, int stack) { return state.matrixStacks[stack][state.stackDepth[stack]]; }

}  // namespace

TEST_F(Interpreter, AFrameWithoutDrawingYieldsNoPackets) {
  builder.Put(kSwapBuffers);
  EXPECT_TRUE(Replay(builder));
  EXPECT_EQ(state.packets.size(), 0u);
  EXPECT_EQ(state.buildStats.records, 1u);
  EXPECT_EQ(state.buildStats.streamBytes, 4u);
}

TEST_F(Interpreter, TwoVerticesMakeNoPacket) {
  builder.Put(kBegin, {4}).Put(kVertex2f, {1.0f, 2.0f}).Put(kVertex2f, {1.0f, 2.0f}).Put(kEnd).Put(kSwapBuffers);
  Replay(builder);
  EXPECT_EQ(state.packets.size(), 0u);
  EXPECT_EQ(state.packetVertices.size(), 0u);
  EXPECT_EQ(state.vertices.size(), 0u);
  EXPECT_EQ(state.buildStats.vertices, 2u);
}

TEST_F(Interpreter, PointsMakeNoPacketLinesMakeAnEmptyOne) {
  UseIdentity();
  builder.Triangle(0).Triangle(1).Put(kSwapBuffers);
  Replay(builder);
  ASSERT_EQ(state.packets.size(), 1u);
  EXPECT_EQ(state.packets[0].mode, 1u);
  EXPECT_EQ(state.packets[0].firstVertex, 0u);
  EXPECT_TRUE(state.triangles.empty());
}

TEST_F(Interpreter, APacketHoldsTheStateOfItsEnd) {
  builder.Put(kMatrixMode, {0x1701}).Put(kLoadIdentity).Put(kScalef, {2.0f, 2.0f, 2.0f}).Put(kMatrixMode, {0x1700});
  builder.Put(kLoadIdentity).Put(kViewport, {1, 2, 30, 40}).Put(kColor, {0x11223344u}).Put(kTexCoord2f, {0.5f, 0.25f});
  builder.Put(kBegin, {6})
      .Put(kVertex3f, {1.0f, 2.0f, 3.0f})
      .Put(kVertex2f, {4.0f, 5.0f})
      .Put(kVertex3f, {7.0f, 8.0f, 9.0f});
  builder.Put(kTranslatef, {1.0f, 0.0f, 0.0f}).Put(kDepthRange, {0.25f, 0.75f}).Put(kEnable, {0x0B44});
  builder.Put(kCullFace, {0x0404}).Put(kFrontFace, {0x0900}).Put(kEnd);
  builder.Put(kTranslatef, {9.0f, 9.0f, 9.0f}).Triangle().Put(kSwapBuffers);
  Replay(builder);
  ASSERT_EQ(state.packets.size(), 2u);
  const NativePacket& p = state.packets[0];
  EXPECT_EQ(p.serial, 0u);
  EXPECT_EQ(p.mode, 6u);
  EXPECT_EQ(p.firstVertex, 0u);
  EXPECT_EQ(p.vertexCount, 3u);
  EXPECT_EQ(p.mvp[0], 2.0f);
  EXPECT_EQ(p.mvp[12], 2.0f);  // the translation came between begin and end, and acts on the whole primitive
  EXPECT_EQ(p.viewportX, 1);
  EXPECT_EQ(p.viewportY, 2);
  EXPECT_EQ(p.viewportW, 30);
  EXPECT_EQ(p.viewportH, 40);
  EXPECT_EQ(p.depthNear, 0.25f);
  EXPECT_EQ(p.depthFar, 0.75f);
  EXPECT_EQ(p.cullEnabled, 1u);
  EXPECT_EQ(p.cullMode, 0x0404u);
  EXPECT_EQ(p.frontFace, 0x0900u);
  EXPECT_EQ(p.triangleTemplate.textureIndex, kNoTexture);
  const PacketVertex want = {4, 5, 0, 0x11223344u, 0.5f, 0.25f};
  EXPECT_TRUE(SameBytes(state.packetVertices[1], want));
  EXPECT_EQ(state.packets[1].serial, 1u);
  EXPECT_EQ(state.packets[1].firstVertex, 3u);
  EXPECT_EQ(state.packets[1].mvp[12], 20.0f);
  EXPECT_EQ(state.packetSequence, 2u);
  EXPECT_EQ(state.buildStats.packetCount, 2u);
  EXPECT_EQ(state.matricesDirty, 0);
}

TEST_F(Interpreter, TheTextureMatrixHasNoEffect) {
  UseIdentity();
  builder.Put(kMatrixMode, {0x1702}).Put(kScalef, {5.0f, 5.0f, 5.0f}).Triangle().Put(kSwapBuffers);
  Replay(builder);
  EXPECT_EQ(state.packets[0].mvp[0], 1.0f);
}

TEST_F(Interpreter, StackLimits) {
  builder.Put(kLoadIdentity);
  for (int i = 0; i < 40; ++i) builder.Put(kPushMatrix);
  builder.Put(kSwapBuffers);
  Replay(builder);
  EXPECT_EQ(state.stackDepth[0], 31);
  EXPECT_EQ(Top(state, 0)[0], 1.0f);
  StreamBuilder pop;
  pop.Put(kPopMatrix).Put(kSwapBuffers);
  state.matricesDirty = 0;
  Replay(pop);
  EXPECT_EQ(state.stackDepth[0], 30);
  state.stackDepth[0] = 0;
  state.matricesDirty = 0;
  Replay(pop);
  EXPECT_EQ(state.stackDepth[0], 0);
  EXPECT_EQ(state.matricesDirty, 1);
}

TEST_F(Interpreter, DegenerateRotationsChangeNothing) {
  UseIdentity();
  state.matricesDirty = 0;
  builder.Put(kRotatef, {0.0f, 1.0f, 0.0f, 0.0f}).Put(kRotatef, {90.0f, 0.0f, 0.0f, 0.0f}).Put(kSwapBuffers);
  Replay(builder);
  EXPECT_EQ(state.matricesDirty, 0);
  EXPECT_EQ(Top(state, 0)[0], 1.0f);
}

TEST_F(Interpreter, MatrixRecords) {
  const auto run = [this](std::initializer_list<Word> fields, std::uint32_t id) {
    UseIdentity();
    StreamBuilder b;
    b.Put(id, fields).Put(kSwapBuffers);
    state.matricesDirty = 0;
    Replay(b);
    EXPECT_EQ(state.matricesDirty, 1);
    return Top(state, 0);
  };
  const float* m = run({-2.0f, 2.0f, -1.0f, 1.0f, -1.0f, 1.0f}, kOrtho);
  EXPECT_EQ(m[0], 0.5f);
  EXPECT_EQ(m[5], 1.0f);
  EXPECT_EQ(m[10], -1.0f);
  m = run({-1.0f, 1.0f, -1.0f, 1.0f, 1.0f, 3.0f}, kFrustum);
  EXPECT_EQ(m[0], 1.0f);
  EXPECT_EQ(m[10], -2.0f);
  EXPECT_EQ(m[11], -1.0f);
  EXPECT_EQ(m[14], -3.0f);
  EXPECT_EQ(m[15], 0.0f);
  m = run({90.0f, 0.0f, 0.0f, 2.0f}, kRotatef);
  const float radians = 90.0f * 3.1415927f / 180.0f;
  EXPECT_EQ(m[1], static_cast<float>(std::sin(static_cast<double>(radians))));
  EXPECT_EQ(m[4], -m[1]);
  m = run({1.0f, 2.0f, 3.0f}, kTranslatef);
  EXPECT_EQ(m[14], 3.0f);
  m = run({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}, kLoadMatrixf);
  EXPECT_EQ(std::bit_cast<std::uint32_t>(m[15]), 16u);
}

TEST_F(Interpreter, UnknownEnumsAreIgnored) {
  builder.Put(kMatrixMode, {0x1234}).Put(kEnable, {0x1234}).Put(kTexEnvi, {0x1234, 0x2200, 0x1E01});
  builder.Put(kTexEnvi, {0x2300, 0x2201, 0x1E01}).Put(kBindTexture, {0x1234, 5}).Put(kClear, {0x400}).Put(kSwapBuffers);
  Replay(builder);
  EXPECT_EQ(state.matrixMode, 0);
  EXPECT_EQ(state.texEnvMode, 0x2100u);
  EXPECT_EQ(state.boundTexture, 0u);
  EXPECT_EQ(state.pendingColorClear | state.pendingDepthClear, 0);
}

TEST_F(Interpreter, RenderStateRecords) {
  builder.Put(kBlendFunc, {1, 2}).Put(kAlphaFunc, {0x0204, 0.5f}).Put(kDepthFunc, {0x0203}).Put(kDepthMask, {0});
  builder.Put(kTexEnvi, {0x2300, 0x2200, 0x2101}).Put(kTexEnvfv, {0x2300, 0x2201, 1.0f, 0.0f, 0.5f, 1.0f});
  builder.Put(kEnable, {0x0BE2})
      .Put(kEnable, {0x0DE1})
      .Put(kEnable, {0x0BC0})
      .Put(kEnable, {0x0B71})
      .Put(kEnable, {0x0B44});
  builder.Put(kDisable, {0x0BC0}).Put(kSwapBuffers);
  Replay(builder);
  EXPECT_EQ(state.blendSrc, 1u);
  EXPECT_EQ(state.blendDst, 2u);
  EXPECT_EQ(state.alphaRef, 0.5f);
  EXPECT_EQ(state.depthFunc, 0x0203u);
  EXPECT_EQ(state.depthMask, 0);
  EXPECT_EQ(state.texEnvMode, 0x2101u);
  EXPECT_EQ(state.texEnvColor, 0xFFFF0080u);
  EXPECT_TRUE(state.blendEnabled && state.texture2DEnabled && state.depthTestEnabled && state.cullEnabled);
  EXPECT_FALSE(state.alphaTestEnabled);
  StreamBuilder mode;
  mode.Put(kTexEnvfv, {0x2300, 0x2200, 7681.9f, 0.0f, 0.0f, 0.0f}).Put(kDepthMask, {2}).Put(kSwapBuffers);
  Replay(mode);
  EXPECT_EQ(state.texEnvMode, 7681u);
  EXPECT_EQ(state.depthMask, 1);
}

TEST_F(Interpreter, RecordsWithoutACaseHaveNoEffect) {
  StateSnapshot before = {}, after = {};
  SnapshotFromState(state, before);
  builder.Put(kScissor, {1, 2, 3, 4}).Put(kColorMask, {0, 0, 0, 0}).Put(kPixelStorei, {1, 2}).Put(kShadeModel, {3});
  builder.Put(kPolygonMode, {1, 2}).Put(kPolygonOffset, {1.0f, 2.0f}).Put(kActiveTexture, {0x84C1});
  builder.Put(kReadPixels, {1, 2, 3, 4, 5, 6}).Put(47, {1}).Put(60000).Put(kSwapBuffers);
  Replay(builder);
  SnapshotFromState(state, after);
  EXPECT_TRUE(SameBytes(before, after));
  EXPECT_EQ(state.buildStats.records, 11u);
}

TEST_F(Interpreter, TheWalkStopsAtTheFramesEnd) {
  builder.Put(kSwapBuffers).Put(kColor, {0x12345678u});
  Replay(builder);
  EXPECT_EQ(state.currentColor, 0xFFFFFFFFu);
  EXPECT_EQ(state.buildStats.records, 1u);
  EXPECT_EQ(state.buildStats.streamBytes, 12u);
}

TEST_F(Interpreter, AViewportGrowsTheGridByAxis) {
  ResizeTileGrid(state, 640, 480);
  builder.Put(kViewport, {0, 0, 2000, 100}).Put(kSwapBuffers);
  Replay(builder);
  EXPECT_EQ(state.fbWidth, 2000);
  EXPECT_EQ(state.fbHeight, 480);
  EXPECT_EQ(state.viewport[3], 100);
  StreamBuilder small;
  small.Put(kViewport, {0, 0, 10, 10}).Put(kSwapBuffers);
  Replay(small);
  EXPECT_EQ(state.fbWidth, 2000);
}

TEST_F(Interpreter, AViewportAsksTheSurfaceOnlyWhereAContextIs) {
  static int asked;
  asked = 0;
  RegisterSurfaceCover([](ContextRecord*, std::int32_t w, std::int32_t h) { asked += w * 1000 + h; });
  builder.Put(kViewport, {0, 0, 20, 10}).Put(kSwapBuffers);
  Replay(builder);
  EXPECT_EQ(asked, 0);
  int place = 0;
  CurrentThreadGuard().currentContext = reinterpret_cast<ContextRecord*>(&place);
  Replay(builder);
  EXPECT_EQ(asked, 20010);
  RegisterSurfaceCover(nullptr);
  Replay(builder);
  CurrentThreadGuard().currentContext = nullptr;
  EXPECT_EQ(asked, 20010);
}

TEST_F(Interpreter, AClearAfterATriangleIsLatched) {
  UseIdentity();
  builder.Triangle().Put(kClearColor, {0.0f, 0.0f, 1.0f, 1.0f}).Put(kClearDepth, {0.5f}).Put(kClear, {0x4100});
  builder.Put(kClearColor, {1.0f, 1.0f, 1.0f, 1.0f}).Put(kClearDepth, {0.25f}).Put(kSwapBuffers);
  Replay(builder);
  EXPECT_EQ(state.pendingColorClear, 1);
  EXPECT_EQ(state.pendingColorClearValue, 0xFF0000FFu);
  EXPECT_EQ(state.pendingDepthClear, 1);
  EXPECT_EQ(state.pendingDepthClearValue, 0.5f);
  EXPECT_EQ(state.clearColor, 0xFFFFFFFFu);
}

TEST_F(Interpreter, ImmediateModeSequencesFuseWithoutAnEffect) {
  // Every order of the three records, and longer runs; the judge is a plain reading of the list.
  const std::uint32_t ids[] = {kColor, kTexCoord2f, kVertex3f, kVertex2f, kLoadIdentity};
  for (std::uint32_t code = 0; code < 5 * 5 * 5 * 5 * 5; ++code) {
    state = DriverState();
    StreamBuilder b;
    std::vector<PacketVertex> want;
    std::uint32_t color = 0xFFFFFFFFu, records = 1;
    float s = 0, t = 0;
    std::uint32_t rest = code;
    for (int i = 0; i < 5; ++i, rest /= 5) {
      const auto f = static_cast<float>(i + 1);
      ++records;
      switch (ids[rest % 5]) {
        case kColor:
          color = 0x01010101u * static_cast<std::uint32_t>(i);
          b.Put(kColor, {color});
          break;
        case kTexCoord2f:
          s = f, t = -f;
          b.Put(kTexCoord2f, {s, t});
          break;
        case kVertex3f:
          b.Put(kVertex3f, {f, f + 1, f + 2});
          want.push_back({f, f + 1, f + 2, color, s, t});
          break;
        case kVertex2f:
          b.Put(kVertex2f, {f, f + 1});
          want.push_back({f, f + 1, 0, color, s, t});
          break;
        default:
          b.Put(kLoadIdentity);
      }
    }
    b.Put(kSwapBuffers);
    Replay(b);
    ASSERT_EQ(state.vertices.size(), want.size());
    for (std::size_t i = 0; i < want.size(); ++i) ASSERT_TRUE(SameBytes(state.vertices[i], want[i]));
    ASSERT_EQ(state.currentColor, color);
    ASSERT_EQ(state.currentS, s);
    ASSERT_EQ(state.buildStats.records, records);
    ASSERT_EQ(state.buildStats.vertices, want.size());
  }
}

TEST_F(Interpreter, ACutSequenceAtTheBuffersEndIsNotReadPast) {
  for (std::size_t cut = 1; cut <= 36; ++cut) {
    StreamBuilder b;
    b.Put(kTexCoord2f, {1.0f, 2.0f}).Put(kColor, {5}).Put(kVertex3f, {1.0f, 2.0f, 3.0f}).Cut(cut);
    // An exact block, so that a sanitizer sees one byte too many.
    CommandStream exact;
    exact.bytes = b.stream.bytes;
    state = DriverState();
    ReplayFrame(exact, nullptr, false);
    EXPECT_TRUE(state.vertices.empty());
    EXPECT_EQ(state.currentColor, cut <= 16 ? 5u : 0xFFFFFFFFu);
    EXPECT_EQ(state.currentS, cut <= 24 ? 1.0f : 0.0f);
    // Where a record was cut the figures are not stored; a cut between two records is a proper end.
    EXPECT_EQ(state.buildStats.records != 0, cut == 16 || cut == 24);
  }
}

TEST_F(Interpreter, AMalformedRecordEndsTheWalkAndKeepsThePackets) {
  UseIdentity();
  builder.Triangle().PutSized(kColor, 2, {7}).Triangle().Put(kSwapBuffers);
  EXPECT_TRUE(Replay(builder));
  EXPECT_EQ(state.packets.size(), 1u);
  EXPECT_EQ(state.triangles.size(), 1u);
  EXPECT_EQ(state.buildStats.records, 0u);
  EXPECT_EQ(state.buildStats.streamBytes, 0u);
  EXPECT_EQ(state.buildStats.packetCount, 1u);
}

TEST_F(Interpreter, ShortRecordsReadMissingFieldsAsZero) {
  state.currentS = state.currentT = 9;
  builder.PutSized(kTexCoord2f, 8, {5.0f}).PutSized(kVertex3f, 12, {1.0f, 2.0f}).PutSized(kColor, 4);
  builder.PutSized(kVertex3f, 6).Cut(0);
  const std::uint8_t half[2] = {0, 0};
  builder.stream.bytes.append(half, 2);
  builder.PutSized(kDepthRange, 8, {0.5f}).PutSized(kLoadMatrixf, 8, {3.0f}).Put(kSwapBuffers);
  Replay(builder);
  EXPECT_EQ(state.currentS, 5.0f);
  EXPECT_EQ(state.currentT, 0.0f);
  ASSERT_EQ(state.vertices.size(), 2u);
  const PacketVertex first = {1, 2, 0, 0xFFFFFFFFu, 5, 0}, second = {0, 0, 0, 0, 5, 0};
  EXPECT_TRUE(SameBytes(state.vertices[0], first));
  EXPECT_TRUE(SameBytes(state.vertices[1], second));
  EXPECT_EQ(state.depthNear, 0.5f);
  EXPECT_EQ(state.depthFar, 0.0f);
  EXPECT_EQ(Top(state, 0)[0], 3.0f);
  EXPECT_EQ(Top(state, 0)[15], 0.0f);
}

TEST_F(Interpreter, LongRecordsAreReadToTheirLayoutsEnd) {
  builder.PutSized(kColor, 12, {5, 6}).PutSized(kVertex3f, 24, {1.0f, 2.0f, 3.0f, 4.0f, 5.0f}).Put(kSwapBuffers);
  Replay(builder);
  ASSERT_EQ(state.vertices.size(), 1u);
  EXPECT_EQ(state.vertices[0].z, 3.0f);
  EXPECT_EQ(state.vertices[0].color, 5u);
}

TEST_F(Interpreter, ThePipelineCutoffStopsTheBuild) {
  UseIdentity();
  builder.Triangle().Put(kSwapBuffers);
  Settings().pipelineCutoff = 0;
  EXPECT_TRUE(Replay(builder));
  EXPECT_TRUE(state.packets.empty());
  Settings().pipelineCutoff = 1;
  EXPECT_TRUE(Replay(builder));
  EXPECT_EQ(state.packets.size(), 1u);
  EXPECT_TRUE(state.triangles.empty());
  for (int cutoff = 2; cutoff <= 5; ++cutoff) {
    Settings().pipelineCutoff = cutoff;
    EXPECT_TRUE(Replay(builder));
    EXPECT_EQ(state.packets.size(), 1u);
    EXPECT_EQ(state.triangles.size(), 1u);
  }
}

TEST_F(Interpreter, TheWalkNotesItsPacketsAndItsTimes) {
  for (int i = 0; i < 3000; ++i) builder.Triangle();
  builder.Blob("12345", 5);
  builder.Put(kSwapBuffers);
  Settings().pipelineCutoff = 1;  // emission, which counts the packets as well, stays out
  Replay(builder);
  EXPECT_EQ(state.buildStats.packetCount, 3000u);
  EXPECT_EQ(state.buildStats.blobBytes, 5u);
  EXPECT_GT(state.buildStats.packetTicks, 0u);
  EXPECT_GT(state.buildStats.interpreterTicks, state.buildStats.packetTicks);
  EXPECT_EQ(state.buildStats.emissionTicks, 0u);
  Settings().pipelineCutoff = 2;
  Replay(builder);
  EXPECT_GT(state.buildStats.emissionTicks, 0u);
}

TEST_F(Interpreter, GeneratedNamesAreTheLowestFree) {
  builder.Put(kGenTextures, {5, 0}).Put(kSwapBuffers);
  Replay(builder);
  ASSERT_EQ(state.textureTable.size(), 6u);
  const std::uint32_t names[] = {4, 0, 2};
  StreamBuilder remove;
  const std::uint32_t offset = remove.Blob(names, sizeof names);
  remove.Put(kDeleteTextures, {3, offset, 0, 12, 0}).Put(kGenTextures, {1, 0}).Put(kSwapBuffers);
  Replay(remove);
  EXPECT_EQ(state.textureTable[2].inUse, 1);
  EXPECT_EQ(state.textureTable[4].inUse, 0);
  EXPECT_EQ(state.textureTable[0].inUse, 1);
}

TEST_F(Interpreter, GenerationEqualsCallByCall) {
  for (const int n : {1, 2, 7, 30}) {
    state = DriverState();
    DriverState judge;
    for (DriverState* s : {&state, &judge}) {
      for (const std::uint32_t name : {3u, 4u, 9u, 12u}) BindTexture(*s, 0x0DE1, name, Touch::kSkip);
    }
    StreamBuilder b;
    b.Put(kGenTextures, {n, 0}).Put(kSwapBuffers);
    Replay(b);
    for (int i = 0; i < n; ++i) AllocateTextureName(judge, Touch::kSkip);
    ASSERT_EQ(state.textureTable.size(), judge.textureTable.size());
    for (std::size_t i = 0; i < judge.textureTable.size(); ++i) {
      EXPECT_EQ(state.textureTable[i].inUse, judge.textureTable[i].inUse) << i;
      EXPECT_EQ(state.textureTable[i].hasImage, judge.textureTable[i].hasImage) << i;
    }
  }
}

TEST_F(Interpreter, NamesOfCallsAreAllGeneratedAgain) {
  builder.Put(kGenTextures, {300000, 0}).Put(kSwapBuffers);
  builder.stream.fromCalls = true;
  Replay(builder);
  EXPECT_EQ(state.textureTable.size(), std::size_t{300001});
}

TEST_F(Interpreter, AbsurdNameCountsOfFilesAreBounded) {
  builder.Put(kGenTextures, {0x7FFFFFFF, 0}).Put(kGenTextures, {0x7FFFFFFF, 0}).Put(kGenTextures, {-1, 0});
  builder.Put(kSwapBuffers);
  Replay(builder);
  EXPECT_EQ(state.textureTable.size(), std::size_t{1} << 18);
  // Free names are still handed out where the table is larger.
  BindTexture(state, 0x0DE1, (1u << 18) + 5, Touch::kSkip);
  StreamBuilder more;
  more.Put(kGenTextures, {2, 0}).Put(kSwapBuffers);
  Replay(more);
  EXPECT_EQ(state.textureTable.size(), (std::size_t{1} << 18) + 6);
  EXPECT_EQ(state.textureTable[(1u << 18) + 1].inUse, 1);
  EXPECT_EQ(state.textureTable[(1u << 18) + 2].inUse, 0);
}

TEST_F(Interpreter, UploadsReadTheBlob) {
  const std::uint8_t pixels[] = {1, 2, 3, 4, 5, 6, 7, 8};
  const std::uint32_t offset = (builder.Blob("pad", 3), builder.Blob(pixels, sizeof pixels));
  builder.Put(kBindTexture, {0x0DE1, 1});
  builder.Put(kTexImage2D, {0x0DE1, 0, 4, 2, 1, 0, 0x1908, 0x1401, 0, offset, 0, 8, 0, 0, 0}).Put(kSwapBuffers);
  Replay(builder);
  ASSERT_EQ(state.textureTable.size(), 2u);
  const TextureObject& t = state.textureTable[1];
  EXPECT_EQ(t.hasImage, 1);
  EXPECT_EQ(t.pixels[0], 0x04010203u);
  EXPECT_EQ(t.pixels[1], 0x08050607u);
  EXPECT_EQ(state.buildStats.payloadBytes, 8u);
  EXPECT_EQ(state.buildStats.blobBytes, 11u);
}

TEST_F(Interpreter, BlobRangesOutsideTheBlobActAsNoData) {
  const std::uint32_t cases[][4] = {
      {8, 0, 8, 0}, {0, 0, 17, 0}, {0, 1, 8, 0}, {0xFFFFFFF8u, 0xFFFFFFFFu, 16, 0}, {0, 0, 0, 1}};
  for (const auto& c : cases) {
    state = DriverState();
    StreamBuilder b;
    const std::uint8_t pixels[12] = {9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9};
    b.Blob(pixels, sizeof pixels);
    b.Put(kTexImage2D, {0x0DE1, 0, 4, 2, 1, 0, 0x1908, 0x1401, 0, c[0], c[1], c[2], c[3], 0, 0});
    b.Put(kDeleteTextures, {2, c[0], c[1], c[2], c[3]}).Put(kSwapBuffers);
    Replay(b);
    ASSERT_EQ(state.textureTable.size(), 1u);
    EXPECT_EQ(state.textureTable[0].pixels[0], 0xFF000000u);  // as a call with no pixels
  }
}

TEST_F(Interpreter, PayloadIsCountedWhateverHappensToTheRecord) {
  builder.Put(kTexImage2D, {0x1234, 3, 4, 2, 1, 0, 0x1908, 0x1401, 0, 0, 0, 100, 0, 0, 0});
  builder.Put(kTexSubImage2D, {0x0DE1, 0, 0, 0, 2, 1, 0x1908, 0x1401, 0, 0, 0, 23, 0, 0, 0}).Put(kSwapBuffers);
  Replay(builder);
  EXPECT_EQ(state.buildStats.payloadBytes, 123u);
  EXPECT_TRUE(state.textureTable.empty() || state.textureTable[0].hasImage == 0);
}
