// The read-only walks over a stream.
#include <gtest/gtest.h>

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
