// What stands between a file that reads and the driver: each fault in its own words, and what must pass.
#include "capture/validate.h"

#include <chrono>
#include <cstring>
#include <string>

#include "capture_fixture.h"
#include "made_capture.h"

namespace tlr2 {
namespace {

constexpr char kPath[] = "made.tlr2-capture";

class Validate : public Diagnostics {
 protected:
  void SetUp() override {
    Diagnostics::SetUp();
    made.blobs = {"abcd"};
    made.textures = {MadeTexture{}, OneTexel(1, 0)};
    made.frames = {{kFrameEnd, "", ""}};
  }
  std::string Fault(const CaptureLimits& limits = {}) {
    WriteBytesTo(kPath, made.Bytes());
    CaptureContents contents;
    const char* error = "";
    EXPECT_TRUE(ReadCapture(kPath, contents, &error)) << error;
    return ValidateCapture(contents, limits);
  }
  /// The fault of a stream of one frame.
  std::string FaultOf(const std::string& records, const std::string& blob = "", const CaptureLimits& limits = {}) {
    made.frames = {{records + kFrameEnd, blob, ""}};
    return Fault(limits);
  }
  /// A texture of 4 by 2: levels 4x2, 2x1, 1x1.
  void UseChain() {
    made.blobs = {std::string(44, 'x')};
    MadeTexture& t = made.textures[1];
    t.width = 4, t.height = 2;
    t.widths = {4, 2, 1}, t.heights = {2, 1, 1}, t.pitches = {16, 8, 4};
    t.texelBytes = {4, 4, 4}, t.offsets = {0, 32, 40};
  }

  MadeCapture made;
};

TEST_F(Validate, WhatTheWriterWritesPasses) {
  EXPECT_EQ(Fault(), "");
  UseChain();
  EXPECT_EQ(Fault(), "");
  made.frames.clear();
  EXPECT_EQ(Fault(), "");
}

TEST_F(Validate, TheSurfaceHasPixelsAndALimit) {
  made.width = 0;
  EXPECT_EQ(Fault(), "surface without pixels");
  made.width = 16385;
  EXPECT_EQ(Fault(), "surface of 16385 by 48 pixels is beyond the limits");
  made.width = 16384, made.height = 4096;
  EXPECT_EQ(Fault(), "");
  made.height = 4097;
  EXPECT_EQ(Fault(), "surface of 16384 by 4097 pixels is beyond the limits");
  made.width = made.height = 0xFFFFFFFF;
  EXPECT_EQ(Fault(), "surface of 4294967295 by 4294967295 pixels is beyond the limits");
}

TEST_F(Validate, MatricesIndexTheirStacks) {
  made.SetSnapshot(0, 3);
  EXPECT_EQ(Fault(), "keyframe: matrix mode 3");
  made.SetSnapshot(0, 0xFFFFFFFF);
  EXPECT_EQ(Fault(), "keyframe: matrix mode -1");
  made.SetSnapshot(0, 2);
  EXPECT_EQ(Fault(), "");
  made.SetSnapshot(12, 32);
  EXPECT_EQ(Fault(), "keyframe: depth 32 of matrix stack 2");
  made.SetSnapshot(12, 31);
  EXPECT_EQ(Fault(), "");
  made.SetSnapshot(4, 0x80000000);
  EXPECT_EQ(Fault(), "keyframe: depth -2147483648 of matrix stack 0");
}

TEST_F(Validate, TileCountsFollowFromTheGrid) {
  made.SetSnapshot(6244, 33), made.SetSnapshot(6248, 8);
  EXPECT_EQ(Fault(), "keyframe: tile counts do not follow from the grid's size");
  made.SetSnapshot(6252, 5), made.SetSnapshot(6256, 1), made.SetSnapshot(6260, 2), made.SetSnapshot(6264, 1);
  EXPECT_EQ(Fault(), "");
  made.SetSnapshot(6260, 3);
  EXPECT_EQ(Fault(), "keyframe: tile counts do not follow from the grid's size");
}

TEST_F(Validate, TheGridIsNotNegative) {
  // Few pixels below nought would have no tiles, as nought pixels have none.
  made.SetSnapshot(6244, 0xFFFFFFFB);
  EXPECT_EQ(Fault(), "keyframe: grid of -5 by 0 pixels");
  made.SetSnapshot(6244, 0), made.SetSnapshot(6248, 0xFFFFFFFF);
  EXPECT_EQ(Fault(), "keyframe: grid of 0 by -1 pixels");
}

TEST_F(Validate, GridAndViewportHaveTheSurfacesLimit) {
  made.SetSnapshot(6244, 32000), made.SetSnapshot(6248, 8);
  made.SetSnapshot(6252, 4000), made.SetSnapshot(6256, 1), made.SetSnapshot(6260, 1000), made.SetSnapshot(6264, 1);
  EXPECT_EQ(Fault(), "keyframe: grid of 32000 by 8 pixels is beyond the limits");
  made.snapshot = MadeCapture::PlainSnapshot();
  made.SetSnapshot(6228 + 12, 0x7FFFFFFF);
  EXPECT_EQ(Fault(), "keyframe: viewport of 0 by 2147483647 pixels is beyond the limits");
}

TEST_F(Validate, FlagsAreNoughtOrOne) {
  for (const std::size_t offset : {6224u, 6272u, 6280u, 6304u, 6312u, 6324u, 6336u, 6337u, 6360u}) {
    made.snapshot = MadeCapture::PlainSnapshot();
    made.snapshot[offset] = 1;
    EXPECT_EQ(Fault(), "") << offset;
    made.snapshot[offset] = 2;
    EXPECT_EQ(Fault(), "keyframe: a flag is neither 0 nor 1") << offset;
  }
}

TEST_F(Validate, LevelsFollowFromTheSizeAndFitTheTexels) {
  const std::string fault = "texture 1: its levels do not follow from its size or do not fit its texels";
  const auto wrong = [&](auto&& change) {
    UseChain();
    change(made.textures[1]);
    EXPECT_EQ(Fault(), fault);
  };
  wrong([](MadeTexture& t) { t.width = 5; });
  wrong([](MadeTexture& t) { t.height = 0; });
  wrong([](MadeTexture& t) { t.width = 0x80000000; });
  wrong([](MadeTexture& t) { t.width = t.height = 0x7FFFFFFF; });
  wrong([](MadeTexture& t) { t.widths[1] = 3; });
  wrong([](MadeTexture& t) { t.heights[2] = 0; });
  wrong([](MadeTexture& t) { t.pitches[0] = 12; });
  wrong([](MadeTexture& t) { t.texelBytes[1] = 8; });
  wrong([](MadeTexture& t) { t.offsets[2] = 44; });
  wrong([](MadeTexture& t) { t.widths.pop_back(); });
  wrong([](MadeTexture& t) { t.widths.push_back(1); });
  wrong([](MadeTexture& t) { t.heights.push_back(1); });  // of a level that the count leaves out
  wrong([](MadeTexture& t) { t.widths.resize(17); });
  wrong([](MadeTexture& t) { t.blob = 0xFFFFFFFF; });
  UseChain();
  made.blobs[0] += "four";
  EXPECT_EQ(Fault(), fault);
  // Without an image nothing looks at the levels.
  UseChain();
  made.textures[1].widths[0] = 99, made.textures[1].flags = 1;
  EXPECT_EQ(Fault(), "");
}

TEST_F(Validate, TexturesHaveALimitInNumberAndInBytes) {
  EXPECT_EQ(Fault({.textureNames = 1}), "2 textures are beyond the limits");
  UseChain();
  EXPECT_EQ(Fault({.texelBytes = 44}), "");
  EXPECT_EQ(Fault({.texelBytes = 43}), "more than 0 MiB of texels are beyond the limits");
}

TEST_F(Validate, AStreamIsARowOfWholeRecords) {
  made.frames = {{kFrameEnd, "", ""}, {MadeRecord(41, {4}) + "cut", "", ""}};
  EXPECT_EQ(Fault(), "frame 1: no whole record stands behind the first 1");
  made.frames = {{std::string("\x29\x00\x03\x00", 4), "", ""}};  // a size below its own head
  EXPECT_EQ(Fault(), "frame 0: no whole record stands behind the first 0");
  made.frames = {{std::string("\x29\x00\x08\x00", 4), "", ""}};  // a size past the end
  EXPECT_EQ(Fault(), "frame 0: no whole record stands behind the first 0");
  EXPECT_EQ(FaultOf(MadeRecord(50)), "frame 0: record 0 (unknown): no record has id 50");
  EXPECT_EQ(FaultOf(MadeRecord(49) + MadeRecord(47, {1, 2, 3})), "");  // skipped by every walk
  EXPECT_EQ(FaultOf(MadeRecord(44) + MadeRecord(41)), "frame 0: record 1 (Begin): 4 bytes instead of 8");
  EXPECT_EQ(FaultOf(MadeRecord(41, {4, 4})), "frame 0: record 0 (Begin): 12 bytes instead of 8");
  made.frames = {{"", "", ""}};
  EXPECT_EQ(Fault(), "");
}

TEST_F(Validate, RecordsBehindTheFramesEndAreLookedAtToo) {
  EXPECT_EQ(FaultOf(kFrameEnd + MadeRecord(60)), "frame 0: record 1 (unknown): no record has id 60");
}

TEST_F(Validate, ViewportsHaveTheSurfacesLimit) {
  EXPECT_EQ(FaultOf(MadeRecord(11, {0, 0, 16384, 4096})), "");
  EXPECT_EQ(FaultOf(MadeRecord(11, {0, 0, 16385, 1})),
            "frame 0: record 0 (Viewport): viewport of 16385 by 1 pixels is beyond the limits");
  // Two viewports that would do alone: the grid covers both.
  EXPECT_EQ(FaultOf(MadeRecord(11, {0, 0, 16384, 1}) + MadeRecord(11, {0, 0, 1, 16384})),
            "frame 0: record 1 (Viewport): viewport of 1 by 16384 pixels is beyond the limits");
  EXPECT_EQ(FaultOf(MadeRecord(11, {0, 0, 0xFFFFFFFF, 0x80000000})), "");  // asks for nothing
}

TEST_F(Validate, TextureNamesHaveALimit) {
  EXPECT_EQ(FaultOf(MadeRecord(33, {0x0DE1, 262143})), "");
  EXPECT_EQ(FaultOf(MadeRecord(33, {0x0DE1, 262144})),
            "frame 0: record 0 (BindTexture): texture name 262144 is beyond the limits");
  EXPECT_EQ(FaultOf(MadeRecord(33, {0x0DE0, 0xFFFFFFFF})), "");  // binds nothing
}

TEST_F(Validate, GeneratedNamesHaveALimitAndAreUsedAgain) {
  const CaptureLimits limits = {.textureNames = 5};
  const auto generate = [](std::uint32_t count) { return MadeRecord(31, {count, 0}); };
  // Names 2 to 4: 0 and 1 are the keyframe's.
  EXPECT_EQ(FaultOf(generate(3), "", limits), "");
  EXPECT_EQ(FaultOf(generate(2) + generate(2), "", limits),
            "frame 0: record 1 (GenTextures): 2 more texture names are beyond the limits");
  EXPECT_EQ(FaultOf(generate(0x7FFFFFFF)),
            "frame 0: record 0 (GenTextures): 2147483647 more texture names are beyond the limits");
  EXPECT_EQ(FaultOf(generate(0) + generate(0xFFFFFFFF), "", limits), "");
  std::string names;
  for (const std::uint32_t name : {2u, 4u}) Put32(names, name);
  std::string turns;
  for (int i = 0; i < 50; ++i) turns += generate(2) + MadeRecord(32, {2, 0, 0, 8, 0});
  EXPECT_EQ(FaultOf(MadeRecord(33, {0x0DE1, 3}) + turns, names, limits), "");
}

TEST_F(Validate, GeneratedNamesAreTheLowestFreeOnes) {
  const CaptureLimits limits = {.textureNames = 6};
  const std::string one = MadeRecord(31, {1, 0}), fill = MadeRecord(31, {4, 0});  // 2 to 5
  const auto remove = [](std::uint32_t at) { return MadeRecord(32, {1, at, 0, 4, 0}); };
  std::string names;
  for (const std::uint32_t name : {4u, 2u, 0u}) Put32(names, name);
  // A name that was passed over before counts again as soon as it is deleted, whichever comes first.
  EXPECT_EQ(FaultOf(fill + remove(0) + remove(4) + one + one, names, limits), "");
  EXPECT_EQ(FaultOf(fill + remove(4) + remove(0) + one + one, names, limits), "");
  EXPECT_EQ(FaultOf(fill + remove(0) + one + remove(4) + one, names, limits), "");
  EXPECT_EQ(FaultOf(fill + remove(4) + one + one, names, limits),
            "frame 0: record 3 (GenTextures): 1 more texture names are beyond the limits");
  EXPECT_EQ(FaultOf(fill + remove(8) + one, names, limits),  // nought is never deleted
            "frame 0: record 2 (GenTextures): 1 more texture names are beyond the limits");
}

TEST_F(Validate, ManyRecordsThatGenerateANameAreQuicklyLookedAt) {
  std::string records;
  for (int i = 0; i < 100000; ++i) records += MadeRecord(31, {1, 0});
  const auto before = std::chrono::steady_clock::now();
  EXPECT_EQ(FaultOf(records), "");
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(1));
}

std::string Upload(std::uint32_t width, std::uint32_t height, std::uint64_t offset, std::uint64_t size,
                   std::uint32_t id = 34) {
  const auto low = [](std::uint64_t v) { return static_cast<std::uint32_t>(v); };
  const auto high = [](std::uint64_t v) { return static_cast<std::uint32_t>(v >> 32); };
  const std::vector<std::uint32_t> sizes =
      id == 34 ? std::vector<std::uint32_t>{3, width, height, 0} : std::vector<std::uint32_t>{0, 0, width, height};
  return MadeRecord(id, {0x0DE1, 0, sizes[0], sizes[1], sizes[2], sizes[3], 0x1908, 0x1401, 0, low(offset),
                         high(offset), low(size), high(size), 0, 0});
}

TEST_F(Validate, PayloadsLieInTheFramesBlob) {
  for (const std::uint32_t id : {34u, 35u}) {
    const std::string name = id == 34 ? "TexImage2D" : "TexSubImage2D";
    EXPECT_EQ(FaultOf(Upload(1, 1, 4, 4, id), "12345678"), "");
    EXPECT_EQ(FaultOf(Upload(1, 1, 5, 4, id), "12345678"),
              "frame 0: record 0 (" + name + "): 4 bytes from 5 on are not all among the frame's 8 blob bytes");
    EXPECT_EQ(FaultOf(Upload(1, 1, 9, 0, id), "12345678"), "");
    EXPECT_EQ(FaultOf(Upload(1, 1, 8, ~std::uint64_t{0}, id), "12345678"),
              "frame 0: record 0 (" + name +
                  "): 18446744073709551615 bytes from 8 on are not all among the frame's 8 blob bytes");
    EXPECT_EQ(FaultOf(Upload(1, 1, ~std::uint64_t{0}, 2, id), "12345678"),
              "frame 0: record 0 (" + name +
                  "): 2 bytes from 18446744073709551615 on are not all among the frame's 8 blob bytes");
  }
}

TEST_F(Validate, UploadsHaveALimitAtOneTime) {
  const CaptureLimits limits = {.texelBytes = 64 * 64 * 4 * 2};
  const std::string large = Upload(64, 64, 0, 0), bind2 = MadeRecord(33, {0x0DE1, 2}),
                    bind3 = MadeRecord(33, {0x0DE1, 3});
  EXPECT_EQ(FaultOf(bind2 + large + large, "", limits), "");  // the second replaces the first
  EXPECT_EQ(FaultOf(bind2 + large + bind3 + large, "", limits),
            "frame 0: record 3 (TexImage2D): more than 0 MiB of texels are beyond the limits");
  std::string name;
  Put32(name, 2);
  const std::string release = MadeRecord(32, {1, 0, 0, 4, 0});
  EXPECT_EQ(FaultOf(bind2 + large + release + bind3 + large, name, limits), "");
  EXPECT_EQ(FaultOf(Upload(0x7FFFFFFF, 0x7FFFFFFF, 0, 0)),
            "frame 0: record 0 (TexImage2D): more than 1024 MiB of texels are beyond the limits");
  EXPECT_EQ(FaultOf(Upload(0x80000000, 0x7FFFFFFF, 0, 0)), "");  // a negative width: ignored by the driver
}

TEST_F(Validate, DeletedNamesFillTheirBytes) {
  EXPECT_EQ(FaultOf(MadeRecord(32, {2, 0, 0, 8, 0}), "12345678"), "");
  EXPECT_EQ(FaultOf(MadeRecord(32, {3, 0, 0, 8, 0}), "12345678"),
            "frame 0: record 0 (DeleteTextures): 3 names in 8 bytes");
  EXPECT_EQ(FaultOf(MadeRecord(32, {0xFFFFFFFF, 0, 0, 8, 0}), "12345678"),
            "frame 0: record 0 (DeleteTextures): -1 names in 8 bytes");
  EXPECT_EQ(FaultOf(MadeRecord(32, {2, 4, 0, 8, 0}), "12345678"),
            "frame 0: record 0 (DeleteTextures): 8 bytes from 4 on are not all among the frame's 8 blob bytes");
}

TEST_F(Validate, ReferencePixelsAreWhole) {
  made.frames[0].reference = "1234567";
  EXPECT_EQ(Fault(), "frame 0: reference pixels end within a pixel");
  made.frames[0].reference = "12345678";
  EXPECT_EQ(Fault(), "");
}

}  // namespace
}  // namespace tlr2
