// What two pictures differ in, and which primitive a triangle came from.
#include "tlr2_replay/picture.h"

#include <gtest/gtest.h>

#include <vector>

#include "api/table/commands.h"
#include "base/gl.h"
#include "tlr2_replay/primitive_index.h"

namespace tlr2::tool {
namespace {

StoredPicture Plain(std::int32_t width, std::int32_t height, std::uint32_t pixel) {
  StoredPicture picture;
  picture.width = width;
  picture.height = height;
  picture.pixels.assign(static_cast<std::size_t>(width * height), pixel);
  return picture;
}

TEST(Compare, EveryChannelCountsAlphaToo) {
  EXPECT_EQ(PixelDifference(0x10203040u, 0x10203040u), 0);
  EXPECT_EQ(PixelDifference(0x10203040u, 0x11203040u), 1);
  EXPECT_EQ(PixelDifference(0x10203040u, 0x10203F40u), 15);
  EXPECT_EQ(PixelDifference(0x00FF0000u, 0xFF000000u), 255);
}

TEST(Compare, TheWorstPixelIsTheFirstOfTheGreatestDifference) {
  const StoredPicture a = Plain(4, 3, 0xFF000000u);
  StoredPicture b = a;
  b.pixels[2] = 0xFF000003u;
  b.pixels[5] = 0xFF090000u;
  b.pixels[11] = 0xFF000009u;
  const Comparison comparison = Compare(a.View(), b.View(), 0);
  EXPECT_EQ(comparison.pixels, 12u);
  EXPECT_EQ(comparison.differing, 3u);
  EXPECT_EQ(comparison.worst, 9);
  EXPECT_EQ(comparison.worstX, 1);
  EXPECT_EQ(comparison.worstY, 1);
  EXPECT_EQ(comparison.worstA, 0xFF000000u);
  EXPECT_EQ(comparison.worstB, 0xFF090000u);
  EXPECT_EQ(comparison.histogram[0], 9u);
  EXPECT_EQ(comparison.histogram[3], 1u);
  EXPECT_EQ(comparison.histogram[9], 2u);
  EXPECT_EQ(Compare(a.View(), b.View(), 3).differing, 2u);
  EXPECT_EQ(Compare(a.View(), b.View(), 9).differing, 0u);
}

TEST(Compare, UnknownPixelsAreNeitherRightNorWrong) {
  const StoredPicture a = Plain(2, 2, 0), b = Plain(2, 2, 0xFFFFFFFFu);
  const std::vector<std::uint8_t> known = {1, 0, 0, 1};
  const Comparison comparison = Compare(a.View(), b.View(), 0, &known);
  EXPECT_EQ(comparison.differing, 2u);
  EXPECT_EQ(comparison.unjudged, 2u);
  const StoredPicture difference = DifferencePicture(a.View(), b.View(), 0, &known);
  EXPECT_EQ(difference.pixels[1], difference.pixels[2]);
  EXPECT_NE(difference.pixels[0], difference.pixels[1]);
}

TEST(Compare, PicturesOfDifferentSizesDifferEverywhere) {
  const StoredPicture a = Plain(2, 2, 0), b = Plain(2, 3, 0);
  const Comparison comparison = Compare(a.View(), b.View(), 255);
  EXPECT_FALSE(comparison.sameSize);
  EXPECT_EQ(comparison.differing, 6u);
}

TEST(Compare, RowsAreReadByTheirPitch) {
  const std::vector<std::uint32_t> wide = {1, 2, 99, 3, 4, 98};
  const PictureView view = {wide.data(), 2, 2, 3};
  EXPECT_EQ(StorePicture(view).pixels, (std::vector<std::uint32_t>{1, 2, 3, 4}));
}

TEST(Shrunk, AveragesWhatItPutsTogether) {
  StoredPicture picture = Plain(4, 2, 0xFF000000u);
  picture.pixels[0] = picture.pixels[1] = 0xFF646464u;
  const StoredPicture small = Shrunk(picture.View(), 2);
  ASSERT_EQ(small.width, 2);
  ASSERT_EQ(small.height, 1);
  EXPECT_EQ(small.pixels[0], 0xFF323232u);
  EXPECT_EQ(small.pixels[1], 0xFF000000u);
  EXPECT_EQ(Shrunk(picture.View(), 4).pixels, picture.pixels);
}

TEST(DrawnPrimitives, OnlyPairsThatBecomePacketsAreCounted) {
  CommandStream stream;
  const auto pair = [&](GLenum mode, int vertices) {
    AppendRecord(stream, CmdBegin{.mode = mode});
    for (int i = 0; i < vertices; ++i) AppendRecord(stream, CmdVertex2f{.x = 1});
    AppendRecord(stream, CmdEnd{});
  };
  pair(gl::kTriangles, 2);  // primitive 0: too few
  pair(gl::kPoints, 9);     // 1: points
  pair(gl::kQuads, 8);      // 2
  pair(gl::kLines, 4);      // 3: a packet without triangles
  pair(gl::kTriangles, 3);  // 4
  AppendRecord(stream, CmdSwapBuffers{});
  pair(gl::kTriangles, 3);  // behind the frame's end
  std::vector<DrawnPrimitive> primitives = DrawnPrimitives(stream.bytes, 0);
  ASSERT_EQ(primitives.size(), 3u);
  EXPECT_EQ(primitives[0].primitive, 2u);
  EXPECT_EQ(primitives[0].beginRecord, 15u);
  EXPECT_EQ(primitives[0].endRecord, 24u);
  EXPECT_EQ(primitives[1].primitive, 3u);
  EXPECT_EQ(primitives[2].primitive, 4u);

  EXPECT_TRUE(CountTriangles(primitives, {4, 0, 1}));
  EXPECT_EQ(PrimitiveOfTriangle(primitives, 0), &primitives[0]);
  EXPECT_EQ(PrimitiveOfTriangle(primitives, 3), &primitives[0]);
  EXPECT_EQ(PrimitiveOfTriangle(primitives, 4), &primitives[2]);
  EXPECT_EQ(PrimitiveOfTriangle(primitives, 5), nullptr);
  EXPECT_FALSE(CountTriangles(primitives, {4, 0}));
}

}  // namespace
}  // namespace tlr2::tool
