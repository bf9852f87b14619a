// The read-only walks over a stream.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "frame_fixture.h"

using namespace tlr2;
using namespace frame_test;

TEST(ScanStream, CountsAValidStream) {
  StreamBuilder b;
  b.Triangle().Put(kBegin, {7}).Put(kVertex2f, {1.0f, 2.0f}).Put(kEnd).Put(kSwapBuffers);
  b.Put(46).Put(49);  // after the frame's end, and unknown: still valid
  b.Blob("xyz", 3);
  StreamSummary s;
  ASSERT_TRUE(ScanStream(b.stream, &s));
  EXPECT_EQ(s.records, 11u);
  EXPECT_EQ(s.vertices, 4u);
  EXPECT_EQ(s.begins, 2u);
  EXPECT_EQ(s.frameEnds, 1u);
  EXPECT_EQ(s.streamBytes, b.stream.bytes.size());
  EXPECT_EQ(s.blobBytes, 3u);
  EXPECT_TRUE(ScanStream(b.stream, nullptr));
}

TEST(ScanStream, AnEmptyStreamIsValid) {
  StreamBuilder b;
  StreamSummary s;
  EXPECT_TRUE(ScanStream(b.stream, &s));
  EXPECT_EQ(s.records, 0u);
}

TEST(ScanStream, StopsAtBadFramingWithTheCountsSoFar) {
  const auto fails = [](StreamBuilder& b) {
    StreamSummary s;
    EXPECT_FALSE(ScanStream(b.stream, &s));
    EXPECT_FALSE(ScanStream(b.stream, nullptr));
    EXPECT_EQ(s.records, 5u);
    EXPECT_EQ(s.vertices, 3u);
    EXPECT_EQ(s.begins, 1u);
    EXPECT_EQ(s.streamBytes, 0u);
    EXPECT_EQ(s.blobBytes, 0u);
  };
  StreamBuilder head, small, past, unknown;
  const std::uint8_t two[2] = {44, 0};
  head.Triangle().stream.bytes.append(two, 2);
  small.Triangle().PutSized(kEnd, 3);
  past.Triangle().PutSized(kEnd, 8);
  unknown.Triangle().Put(50);
  for (StreamBuilder* b : {&head, &small, &past, &unknown}) fails(*b);
}

TEST(ScanStream, CountsAsAPlainWalkDoes) {
  // Mostly what vertices are made of, of the usual sizes and of others, cut off anywhere.
  std::mt19937 random(5);
  const std::uint32_t usual[] = {kTexCoord2f, kColor, kVertex3f, kVertex2f};
  const std::uint32_t usualSize[] = {12, 8, 16, 12};
  for (int round = 0; round < 3000; ++round) {
    StreamBuilder b;
    const auto length = static_cast<std::uint32_t>(random() % 60);
    for (std::uint32_t i = 0; i < length; ++i) {
      const std::uint32_t which = static_cast<std::uint32_t>(random() % 4);
      std::uint32_t id = usual[which], size = usualSize[which];
      if (random() % 20 == 0) {
        id = static_cast<std::uint32_t>(random() % (round % 3 == 0 ? 64 : 50));
        size = static_cast<std::uint32_t>(random() % 40 == 0 ? random() % 64 : 4 + 4 * (random() % 6));
      }
      const std::vector<Word> body(size / 4 - (size >= 4 ? 1 : 0), Word(static_cast<unsigned>(random())));
      b.PutSized(id, size, body);
    }
    tlr2::ByteVector& bytes = b.stream.bytes;
    if (round % 2 == 0 && !bytes.empty()) bytes.resize(random() % bytes.size());

    StreamSummary want = {};
    bool valid = true;
    for (std::size_t at = 0; at < bytes.size();) {
      std::uint16_t head[2] = {};
      if (bytes.size() - at >= 4) std::memcpy(head, bytes.data() + at, 4);
      if (head[1] < 4 || head[1] > bytes.size() - at || head[0] >= 50) {
        valid = false;
        break;
      }
      ++want.records;
      if (head[0] == kVertex2f || head[0] == kVertex3f) ++want.vertices;
      if (head[0] == kBegin) ++want.begins;
      if (head[0] == kSwapBuffers) ++want.frameEnds;
      at += head[1];
    }
    if (valid) want.streamBytes = static_cast<std::uint32_t>(bytes.size());
    StreamSummary got;
    EXPECT_EQ(ScanStream(b.stream, &got), valid);
    EXPECT_EQ(std::memcmp(&got, &want, sizeof got), 0) << round;
  }
}

TEST(ScanFrames, ListsPrimitives) {
  StreamBuilder b;
  b.stream.baseSequence = 100;
  b.Put(kVertex3f, {1.0f, 2.0f, 3.0f});  // outside: not counted
  b.Triangle(5).Put(kBegin, {0}).Put(kVertex2f, {1.0f, 2.0f}).Put(kEnd).Put(kSwapBuffers).Triangle();
  FrameIndex index;
  ASSERT_TRUE(ScanFrames(b.stream, index));
  EXPECT_TRUE(index.wellFormed);
  ASSERT_EQ(index.primitives.size(), 2u);
  EXPECT_EQ(index.primitives[0].serial, 100u);
  EXPECT_EQ(index.primitives[0].mode, 5u);
  EXPECT_EQ(index.primitives[0].firstVertex, 0u);
  EXPECT_EQ(index.primitives[0].vertexCount, 3u);
  EXPECT_EQ(index.primitives[1].serial, 101u);
  EXPECT_EQ(index.primitives[1].firstVertex, 3u);
  EXPECT_EQ(index.primitives[1].vertexCount, 1u);
  EXPECT_EQ(index.vertexTotal, 4u);
  EXPECT_EQ(index.nextSerial, 102u);
}

TEST(ScanFrames, NestingFaultsClearTheFlag) {
  FrameIndex index;
  StreamBuilder nested;
  nested.Put(kBegin, {4}).Put(kVertex2f, {1.0f, 2.0f}).Triangle().Put(kSwapBuffers);
  ASSERT_TRUE(ScanFrames(nested.stream, index));
  EXPECT_FALSE(index.wellFormed);
  ASSERT_EQ(index.primitives.size(), 1u);  // the open one is forgotten
  EXPECT_EQ(index.primitives[0].serial, 1u);
  EXPECT_EQ(index.primitives[0].firstVertex, 1u);
  EXPECT_EQ(index.vertexTotal, 4u);

  StreamBuilder stray;
  stray.Put(kEnd).Put(kSwapBuffers);
  ASSERT_TRUE(ScanFrames(stray.stream, index));
  EXPECT_FALSE(index.wellFormed);

  StreamBuilder open;
  open.Triangle().Put(kBegin, {4}).Put(kSwapBuffers);
  ASSERT_TRUE(ScanFrames(open.stream, index));
  EXPECT_FALSE(index.wellFormed);
  EXPECT_EQ(index.primitives.size(), 1u);
}

TEST(ScanFrames, FramingErrorsFail) {
  FrameIndex index;
  StreamBuilder small, past;
  small.PutSized(kEnd, 2);
  past.PutSized(kBegin, 12, {4});
  EXPECT_FALSE(ScanFrames(small.stream, index));
  EXPECT_FALSE(ScanFrames(past.stream, index));
  StreamBuilder unknown;
  unknown.Put(60000).Triangle().Put(kSwapBuffers);
  EXPECT_TRUE(ScanFrames(unknown.stream, index));
  EXPECT_EQ(index.primitives.size(), 1u);
}
