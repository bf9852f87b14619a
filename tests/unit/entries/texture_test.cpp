// Texture entries: what they record and what they do to the table.
#include <random>
#include <utility>
#include <vector>

#include "base/hash.h"
#include "entry_fixture.h"
#include "frame/replay.h"

namespace tlr2 {
namespace {

using Textures = Entries;
using TexturesWithContext = EntriesWithContext;

TEST_F(Textures, AnUploadRecordsItsArgumentsAndCopiesItsPixels) {
  glBindTexture(gl::kTexture2D, 3);
  std::vector<std::uint8_t> pixels = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  const std::uint32_t hash = Fnv1a(pixels.data(), pixels.size());
  glTexImage2D(gl::kTexture2D, 0, 3, 2, 2, 0, gl::kRgb, gl::kUnsignedByte, pixels.data());
  const auto record = last<CmdTexImage2D>();
  EXPECT_EQ(record.internalformat, 3);
  EXPECT_EQ(record.width, 2);
  EXPECT_EQ(record.height, 2);
  EXPECT_EQ(record.blobOffset, 0u);
  EXPECT_EQ(record.blobSize, 12u);
  EXPECT_EQ(record.hash, hash);
  ASSERT_EQ(stream().blob.size(), 12u);
  pixels[0] = 99;  // the application may change its memory afterwards
  EXPECT_EQ(stream().blob[0], 1);
  EXPECT_EQ(state().textureTable[3].pixels[0], 0xFF010203u);
  EXPECT_EQ(glIsTexture(3), 1);
}

TEST_F(Textures, NullPixelsRecordSizesAndAnEmptyBlob) {
  glTexImage2D(gl::kTexture2D, 0, 4, 4, 2, 0, gl::kRgba, gl::kUnsignedByte, nullptr);
  const auto record = last<CmdTexImage2D>();
  EXPECT_EQ(record.width, 4);
  EXPECT_EQ(record.blobOffset, 0u);
  EXPECT_EQ(record.blobSize, 0u);
  EXPECT_EQ(record.hash, 0u);
  EXPECT_TRUE(stream().blob.empty());
  ASSERT_EQ(state().textureTable.size(), 1u);
  EXPECT_EQ(state().textureTable[0].pixels[0], 0xFF000000u);
}

TEST_F(Textures, AnUnknownFormatCountsFourBytesAPixel) {
  const std::uint8_t pixels[24] = {};
  glTexImage2D(gl::kTexture2D, 0, 4, 3, 2, 0, 0x9999, gl::kUnsignedByte, pixels);
  EXPECT_EQ(last<CmdTexImage2D>().blobSize, 24u);
  glTexImage2D(gl::kTexture2D, 0, 4, 3, 2, 0, gl::kLuminance, 0x1403, pixels);
  EXPECT_EQ(last<CmdTexImage2D>().blobSize, 6u);
  EXPECT_EQ(last<CmdTexImage2D>().blobOffset, 24u);
}

TEST_F(Textures, NonPositiveSizesHaveNoPayload) {
  const std::uint8_t pixels[4] = {};
  glTexImage2D(gl::kTexture2D, 0, 4, -1, 5, 0, gl::kRgba, gl::kUnsignedByte, pixels);
  EXPECT_EQ(last<CmdTexImage2D>().blobSize, 0u);
  EXPECT_EQ(last<CmdTexImage2D>().width, -1);
  glTexSubImage2D(gl::kTexture2D, 0, 0, 0, 5, 0, gl::kRgba, gl::kUnsignedByte, pixels);
  EXPECT_EQ(last<CmdTexSubImage2D>().blobSize, 0u);
}

TEST_F(Textures, APartOfAnImageIsReplacedAndItsRecordHoldsTheOffsets) {
  std::vector<std::uint8_t> image(4 * 4 * 4, 0x10), part(2 * 1 * 4, 0x20);
  glTexImage2D(gl::kTexture2D, 0, 4, 4, 4, 0, gl::kBgra, gl::kUnsignedByte, image.data());
  glTexSubImage2D(gl::kTexture2D, 0, 1, 2, 2, 1, gl::kBgra, gl::kUnsignedByte, part.data());
  const auto record = last<CmdTexSubImage2D>();
  EXPECT_EQ(record.xoffset, 1);
  EXPECT_EQ(record.yoffset, 2);
  EXPECT_EQ(record.width, 2);
  EXPECT_EQ(record.blobOffset, 64u);
  const TextureObject& object = state().textureTable[0];
  EXPECT_EQ(object.pixels[2 * 4 + 1], 0x20202020u);
  EXPECT_EQ(object.pixels[2 * 4 + 3], 0x10101010u);
  EXPECT_EQ(object.pixels[16], 0x10101010u);  // the next level keeps its old texels
}

TEST_F(Textures, AHigherLevelIsRecordedAndLeavesTheObject) {
  const std::uint8_t pixels[16] = {};
  glTexImage2D(gl::kTexture2D, 1, 4, 2, 2, 0, gl::kRgba, gl::kUnsignedByte, pixels);
  EXPECT_EQ(last<CmdTexImage2D>().level, 1);
  EXPECT_EQ(last<CmdTexImage2D>().blobSize, 16u);
  EXPECT_TRUE(state().textureTable.empty() || state().textureTable[0].hasImage == 0);
}

TEST_F(Textures, GeneratedNamesAreDenseAndReusedAndNotRecorded) {
  GLuint a[2] = {}, b[1] = {};
  glGenTextures(2, a);
  EXPECT_EQ(a[0], 1u);
  EXPECT_EQ(a[1], 2u);
  EXPECT_EQ(last<CmdGenTextures>().n, 2);
  glDeleteTextures(1, a);
  glGenTextures(1, b);
  EXPECT_EQ(b[0], a[0]);
  EXPECT_EQ(glIsTexture(b[0]), 0);  // a name without an image
  EXPECT_EQ(glIsTexture(0), 0);
  EXPECT_EQ(glIsTexture(1000), 0);
}

TEST_F(Textures, DeletionRecordsItsNamesInTheBlob) {
  GLuint names[3] = {};
  glGenTextures(3, names);
  glBindTexture(gl::kTexture2D, names[1]);
  const GLuint list[3] = {0, names[1], 77};
  glDeleteTextures(3, list);
  const auto record = last<CmdDeleteTextures>();
  EXPECT_EQ(record.n, 3);
  EXPECT_EQ(record.blobSize, 12u);
  ASSERT_EQ(stream().blob.size(), 12u);
  EXPECT_EQ(std::memcmp(stream().blob.data(), list, 12), 0);
  EXPECT_EQ(state().boundTexture, 0u);
  EXPECT_EQ(state().textureTable[0].inUse, 1);
  EXPECT_EQ(state().textureTable[names[1]].inUse, 0);
}

TEST_F(Textures, EmptyListsDoNothingAndAreNotRecorded) {
  GLuint name = 5;
  const std::uint64_t calls = CallsOf(Entry::glGenTextures);
  glGenTextures(0, &name);
  glGenTextures(-1, &name);
  glGenTextures(1, nullptr);
  glDeleteTextures(0, &name);
  glDeleteTextures(2, nullptr);
  EXPECT_EQ(CallsOf(Entry::glGenTextures), calls + 3);
  EXPECT_EQ(name, 5u);
  EXPECT_EQ(recordCount(), 0u);
  EXPECT_TRUE(stream().blob.empty());
}

TEST_F(Textures, BindingCreatesSlotsUpToTheName) {
  glBindTexture(gl::kTexture2D, 500);
  ASSERT_EQ(state().textureTable.size(), 501u);
  EXPECT_EQ(state().textureTable[500].inUse, 1);
  EXPECT_EQ(state().textureTable[499].inUse, 0);
  EXPECT_EQ(state().boundTexture, 500u);
}

TEST_F(Textures, AnotherTargetIsRecordedAndChangesNothing) {
  glBindTexture(0x0DE0, 5);
  EXPECT_EQ(last<CmdBindTexture>().name, 5u);
  EXPECT_EQ(state().boundTexture, 0u);
  EXPECT_TRUE(state().textureTable.empty());
}

TEST_F(Textures, TheFloatFormOfAParameterCountsTwiceAndTruncates) {
  const std::uint64_t outer = CallsOf(Entry::glTexParameterf), inner = CallsOf(Entry::glTexParameteri);
  glTexParameterf(gl::kTexture2D, gl::kTextureMinFilter, 9728.6f);
  EXPECT_EQ(CallsOf(Entry::glTexParameterf), outer + 1);
  EXPECT_EQ(CallsOf(Entry::glTexParameteri), inner + 1);
  EXPECT_EQ(recordCount(), 1u);
  EXPECT_EQ(last<CmdTexParameteri>().param, 0x2600);
  EXPECT_EQ(state().textureTable[0].minFilter, 0x2600u);
}

TEST_F(Textures, AnEntrySavesTheRecordThatItChangesForTheKeyframeOnce) {
  glBindTexture(gl::kTexture2D, 2);
  TakeKeyframe();
  const std::uint8_t pixels[4] = {1, 2, 3, 4};
  glTexImage2D(gl::kTexture2D, 0, 4, 1, 1, 0, gl::kRgba, gl::kUnsignedByte, pixels);
  glTexParameteri(gl::kTexture2D, gl::kTextureWrapS, 0x2900);
  ASSERT_EQ(LiveKeyframeInstance().pendingIds.size(), 1u);
  EXPECT_EQ(LiveKeyframeInstance().pendingIds[0], 2u);
  EXPECT_EQ(LiveKeyframeInstance().pendingRecords[0].hasImage, 0);
  EXPECT_EQ(LiveKeyframeInstance().pendingRecords[0].wrapS, static_cast<std::uint32_t>(gl::kRepeat));
}

TEST_F(TexturesWithContext, ATextureMadeInAFrameIsMadeAgainByItsReplay) {
  wglSwapBuffers(window);
  GLuint name = 0;
  glGenTextures(1, &name);
  glBindTexture(gl::kTexture2D, name);
  const std::uint8_t texel[4] = {1, 2, 3, 4};
  glTexImage2D(gl::kTexture2D, 0, 4, 1, 1, 0, gl::kRgba, gl::kUnsignedByte, texel);
  glTexParameteri(gl::kTexture2D, gl::kTextureWrapS, gl::kClamp);
  // What the calls left is a mirror: the swap drops the texture with it.
  state().textureTable[name].pixels[0] = 0x55555555u;
  state().textureTable[name].wrapT = 77;
  wglSwapBuffers(window);
  ASSERT_EQ(state().textureTable.size(), std::size_t{name} + 1);
  const TextureObject& object = state().textureTable[name];
  EXPECT_EQ(object.pixels[0], 0x04010203u);
  EXPECT_EQ(object.wrapS, gl::kClamp);
  EXPECT_EQ(object.wrapT, gl::kRepeat);
  EXPECT_EQ(state().boundTexture, name);
}

/// Uploads, parts of uploads, deletions and dead calls in any order, on few names.
void RandomTextureCalls(std::mt19937& random, int calls) {
  const GLenum formats[] = {gl::kRgb, gl::kRgba, gl::kBgr, gl::kBgra, gl::kLuminance, gl::kAlpha, 0x190A};
  std::vector<std::uint8_t> pixels(64 * 64 * 4);
  const auto below = [&random](std::uint32_t n) { return static_cast<GLint>(random() % n); };
  for (int i = 0; i < calls; ++i) {
    for (auto& byte : pixels) byte = static_cast<std::uint8_t>(random());
    const GLenum format = formats[below(7)], type = below(9) == 0 ? 0x1403 : gl::kUnsignedByte;
    const GLenum target = below(9) == 0 ? 0x0DE0 : gl::kTexture2D;
    const GLint level = below(9) == 0 ? 1 : 0, w = below(40), h = below(40);
    switch (below(8)) {
      case 0:
        glBindTexture(gl::kTexture2D, static_cast<GLuint>(below(4)));
        break;
      case 1: {
        const auto name = static_cast<GLuint>(below(4));
        glDeleteTextures(1, &name);
        break;
      }
      case 2:
      case 3:
        glTexSubImage2D(target, level, below(4), below(4), w / 2, h / 2, format, type, pixels.data());
        break;
      default:
        glTexImage2D(target, level, 4, w, h, 0, format, type, below(9) == 0 ? nullptr : pixels.data());
    }
  }
}

/// What the kernels would see of the textures.
std::vector<std::uint32_t> WordsOf(const std::vector<TextureObject>& table) {
  std::vector<std::uint32_t> words;
  for (const TextureObject& object : table) {
    words.insert(words.end(), {static_cast<std::uint32_t>(object.width), static_cast<std::uint32_t>(object.height),
                               object.inUse, object.hasImage, object.levelCount});
    for (const auto* levels : {object.levelWidth, object.levelHeight, object.levelPitch, object.levelOffset})
      words.insert(words.end(), levels, levels + kMaxLevels);
    const TexelVector& pixels = object.pixels;
    words.push_back(static_cast<std::uint32_t>(pixels.size()));
    words.insert(words.end(), pixels.data(), pixels.data() + pixels.size());
  }
  return words;
}

TEST_F(Textures, AReplayThatSharesTheEntriesImagesLeavesWhatConvertingAgainLeaves) {
  std::mt19937 random(8);
  std::size_t shared = 0;
  for (int round = 0; round < 60; ++round) {
    TakeKeyframe();
    RandomTextureCalls(random, 30);
    Keyframe keyframe;
    BuildKeyframe(keyframe);
    const std::vector<std::uint32_t> mirror = WordsOf(state().textureTable);
    CommandStream plain = stream();
    EXPECT_GT(plain.images.size(), 1u);
    plain.images.clear();
    ReplayFrame(plain, &keyframe, false);
    EXPECT_EQ(WordsOf(state().textureTable), mirror);
    ReplayFrame(stream(), &keyframe, false);
    EXPECT_EQ(WordsOf(state().textureTable), mirror);
    for (const ConvertedImage& image : stream().images)
      for (const TextureObject& object : std::as_const(state().textureTable))
        shared += object.hasImage != 0 && object.pixels.data() == image.texels.data() ? 1u : 0u;
    stream().bytes.clear();
    stream().blob.clear();  // the images of a stream that was emptied so must not come back
  }
  EXPECT_GT(shared, 30u);
}

TEST_F(TexturesWithContext, NamesByTheHundredThousandAreHandedOutOnce) {
  std::vector<GLuint> names(300000);
  GLuint next = 0;
  glGenTextures(300000, names.data());
  EXPECT_EQ(names.back(), 300000u);
  wglSwapBuffers(window);
  glGenTextures(1, &next);
  EXPECT_EQ(next, 300001u);
  std::uint32_t pixel = 0;
  glClear(gl::kColorBufferBit);
  glReadPixels(0, 0, 1, 1, gl::kBgra, gl::kUnsignedByte, &pixel);
  glGenTextures(1, &next);
  EXPECT_EQ(next, 300002u);
}

TEST_F(TexturesWithContext, ImagesEndWithTheirFrameAndWithARead) {
  const std::uint8_t texels[16] = {};
  const auto upload = [&] { glTexImage2D(gl::kTexture2D, 0, 4, 2, 2, 0, gl::kRgba, gl::kUnsignedByte, texels); };
  upload();
  EXPECT_EQ(stream().images.size(), 1u);
  wglSwapBuffers(window);
  EXPECT_TRUE(stream().images.empty());
  upload();
  std::uint32_t pixel;
  glReadPixels(0, 0, 1, 1, gl::kBgra, gl::kUnsignedByte, &pixel);
  EXPECT_TRUE(stream().images.empty());
}

TEST_F(Textures, OnlyTheImagesOfTheBlobsFirstPartAreKept) {
  const std::vector<std::uint8_t> texels(1024 * 1024 * 4);
  for (int i = 0; i < 6; ++i)
    glTexImage2D(gl::kTexture2D, 0, 4, 1024, 1024, 0, gl::kRgba, gl::kUnsignedByte, texels.data());
  EXPECT_EQ(stream().images.size(), 4u);
}

TEST_F(TexturesWithContext, TheLastUploadOfAFrameShowsOnAllOfItsTriangles) {
  glViewport(0, 0, 64, 48);
  glMatrixMode(gl::kProjection);
  glLoadIdentity();
  glMatrixMode(gl::kModelview);
  glLoadIdentity();
  const auto upload = [](std::uint8_t r, std::uint8_t g, std::uint8_t b) {
    const std::uint8_t texel[4] = {r, g, b, 255};
    glTexImage2D(gl::kTexture2D, 0, 4, 1, 1, 0, gl::kRgba, gl::kUnsignedByte, texel);
  };
  glEnable(gl::kTexture2D);
  glBindTexture(gl::kTexture2D, 1);
  glTexParameteri(gl::kTexture2D, gl::kTextureMagFilter, gl::kNearest);
  upload(255, 0, 0);
  glBegin(gl::kTriangles);
  glVertex2f(-3, -3);
  glVertex2f(5, -3);
  glVertex2f(-3, 5);
  glEnd();
  upload(0, 255, 0);
  wglSwapBuffers(window);
  std::vector<std::uint32_t> shown(64 * 48);
  ASSERT_EQ(tlr2HeadlessCopyPicture(window, shown.data(), 64 * 48), 64u * 48u);
  EXPECT_EQ(shown, std::vector<std::uint32_t>(64 * 48, 0xFF00FF00u));
}

}  // namespace
}  // namespace tlr2
