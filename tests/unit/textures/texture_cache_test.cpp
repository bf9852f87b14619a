// The per-frame view of the textures.
#include "textures/texture_cache.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "settings/settings.h"
#include "textures/texture_ops.h"

namespace tlr2 {
namespace {

class TextureCache : public ::testing::Test {
 protected:
  TextureCache() { Settings().forceWrap = 0; }
  ~TextureCache() override { Settings().forceWrap = 0; }
  TextureObject& Image(std::uint32_t name, GLsizei width, GLsizei height) {
    BindTexture(state_, gl::kTexture2D, name, Touch::kSkip);
    UploadImage(state_, gl::kTexture2D, 0, width, height, gl::kRgba, gl::kUnsignedByte, nullptr, 0, Touch::kSkip);
    return state_.textureTable[name];
  }
  const TextureCacheEntry& Built(std::uint32_t name) {
    BuildTextureCache(state_, cache_);
    return cache_[name];
  }
  static bool AllZero(const TextureCacheEntry& entry) {
    const TextureCacheEntry zero = {};
    return std::memcmp(&entry, &zero, sizeof zero) == 0;
  }
  std::unique_ptr<DriverState> owned_ = std::make_unique<DriverState>();
  DriverState& state_ = *owned_;
  std::vector<TextureCacheEntry> cache_;
};

TEST_F(TextureCache, NoTexturesStillGiveOneZeroEntry) {
  BuildTextureCache(state_, cache_);
  ASSERT_EQ(cache_.size(), 1u);
  EXPECT_TRUE(AllZero(cache_[0]));
}

TEST_F(TextureCache, NamesWithoutImagesAreZeroAndKeepTheirPlace) {
  AllocateTextureName(state_, Touch::kSkip);
  Image(2, 4, 2);
  BuildTextureCache(state_, cache_);
  ASSERT_EQ(cache_.size(), 3u);
  EXPECT_TRUE(AllZero(cache_[0]));
  EXPECT_TRUE(AllZero(cache_[1]));
  EXPECT_EQ(cache_[2].width, 4);
}

TEST_F(TextureCache, EntryMirrorsTheObjectsLevels) {
  const TextureObject& object = Image(1, 6, 3);
  const TextureCacheEntry& entry = Built(1);
  EXPECT_EQ(entry.width, 6);
  EXPECT_EQ(entry.height, 3);
  EXPECT_EQ(entry.baseLevel, 0);
  const std::int32_t widths[] = {6, 3, 1, 0}, heights[] = {3, 1, 1, 0}, offsets[] = {0, 72, 84, 0};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(entry.levelWidth[i], widths[i]);
    EXPECT_EQ(entry.levelHeight[i], heights[i]);
    EXPECT_EQ(entry.levelStrideBytes[i], 4 * widths[i]);
    EXPECT_EQ(entry.levelTexelBytes[i], widths[i] != 0 ? 4 : 0);
    EXPECT_EQ(entry.levelOffsetBytes[i], offsets[i]);
  }
  EXPECT_EQ(entry.texels[0], static_cast<std::uint64_t>(reinterpret_cast<std::intptr_t>(object.pixels.data())));
  for (int i = 1; i < kMaxLevels; ++i) EXPECT_EQ(entry.texels[i], 0u);
  EXPECT_EQ(entry.reserved[0] | entry.reserved[1] | entry.reserved[2], 0);
}

TEST_F(TextureCache, ObjectsThatLackAnythingAreZero) {
  Image(1, 4, 4).hasImage = 0;
  EXPECT_TRUE(AllZero(Built(1)));
  Image(1, 4, 4).width = 0;
  EXPECT_TRUE(AllZero(Built(1)));
  Image(1, 4, 4).height = 0;
  EXPECT_TRUE(AllZero(Built(1)));
  Image(1, 4, 4).levelCount = 0;
  EXPECT_TRUE(AllZero(Built(1)));
  Image(1, 4, 4).pixels.reset();
  EXPECT_TRUE(AllZero(Built(1)));
  Image(1, 4, 4);
  EXPECT_FALSE(AllZero(Built(1)));
}

TEST_F(TextureCache, ParametersDecideTheWrapAxisByAxis) {
  TextureObject& object = Image(1, 5, 3);
  object.minFilter = object.magFilter = gl::kNearest;
  EXPECT_EQ(Built(1).wrapClampS, 0) << "repeat, also for a size that is no power of two";
  for (std::uint32_t wrap : {gl::kClamp, gl::kClampToBorder, gl::kClampToEdge}) {
    object.wrapS = wrap;
    object.wrapT = gl::kRepeat;
    EXPECT_EQ(Built(1).wrapClampS, 1);
    EXPECT_EQ(Built(1).wrapClampT, 0);
    object.wrapS = 0x1234;
    object.wrapT = wrap;
    EXPECT_EQ(Built(1).wrapClampS, 0);
    EXPECT_EQ(Built(1).wrapClampT, 1);
  }
}

TEST_F(TextureCache, LinearBothWaysClampsUnlessRepeatIsForced) {
  TextureObject& object = Image(1, 4, 4);
  object.minFilter = object.magFilter = gl::kLinear;
  EXPECT_EQ(Built(1).wrapClampS, 1);
  EXPECT_EQ(Built(1).wrapClampT, 1);
  Settings().forceWrap = 1;
  EXPECT_EQ(Built(1).wrapClampS, 0);
  EXPECT_EQ(Built(1).wrapClampT, 0);
}

TEST_F(TextureCache, MipmappedMinificationLeavesTheParametersInForce) {
  TextureObject& object = Image(1, 4, 4);
  object.minFilter = gl::kLinearMipmapLinear;
  object.magFilter = gl::kLinear;
  EXPECT_EQ(Built(1).wrapClampS, 0);
  Settings().forceWrap = 2;
  EXPECT_EQ(Built(1).wrapClampS, 1);
  EXPECT_EQ(Built(1).wrapClampT, 1);
}

}  // namespace
}  // namespace tlr2
