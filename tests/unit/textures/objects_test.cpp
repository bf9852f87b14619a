// Texture names, parameters and uploads, on a table of their own.
#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <stdexcept>
#include <vector>

#include "api/state/keyframe.h"
#include "settings/settings.h"
#include "textures/texture_ops.h"

namespace tlr2 {
namespace {

class Textures : public ::testing::Test {
 protected:
  std::uint32_t Generate() { return AllocateTextureName(state_, Touch::kSkip); }
  void Bind(std::uint32_t name) { BindTexture(state_, gl::kTexture2D, name, Touch::kSkip); }
  void Delete(std::vector<std::uint32_t> names) {
    DeleteTextures(state_, static_cast<GLsizei>(names.size()), names.data(), Touch::kSkip);
  }
  void Parameter(GLenum pname, GLint value) { SetTextureParameter(state_, gl::kTexture2D, pname, value, Touch::kSkip); }
  void Upload(GLsizei width, GLsizei height, GLenum format, const std::vector<std::uint8_t>& payload, GLint level = 0,
              GLenum type = gl::kUnsignedByte, GLenum target = gl::kTexture2D) {
    UploadImage(state_, target, level, width, height, format, type, payload.empty() ? nullptr : payload.data(),
                payload.size(), Touch::kSkip);
  }
  void SubUpload(GLint x, GLint y, GLsizei width, GLsizei height, const std::vector<std::uint8_t>& payload,
                 GLint level = 0) {
    UploadSubImage(state_, gl::kTexture2D, level, x, y, width, height, gl::kLuminance, gl::kUnsignedByte,
                   payload.empty() ? nullptr : payload.data(), payload.size(), Touch::kSkip);
  }
  TextureObject& Object(std::uint32_t name) { return state_.textureTable[name]; }

  std::unique_ptr<DriverState> owned_ = std::make_unique<DriverState>();
  DriverState& state_ = *owned_;
};

std::vector<std::uint8_t> Grey(std::size_t count, std::uint8_t value) {
  return std::vector<std::uint8_t>(count, value);
}

TEST_F(Textures, SlotZeroAppearsAtTheFirstTouchAndIsNeverHandedOut) {
  EXPECT_EQ(Generate(), 1u);
  ASSERT_EQ(state_.textureTable.size(), 2u);
  EXPECT_EQ(Object(0).inUse, 1);
  EXPECT_EQ(Object(0).hasImage, 0);
  EXPECT_EQ(Generate(), 2u);
}

TEST_F(Textures, DefaultsIncludeTrilinearMinification) {
  const TextureObject& object = Object(Generate());
  EXPECT_EQ(object.minFilter, gl::kLinearMipmapLinear);
  EXPECT_EQ(object.magFilter, gl::kLinear);
  EXPECT_EQ(object.wrapS, gl::kRepeat);
  EXPECT_EQ(object.wrapT, gl::kRepeat);
  EXPECT_EQ(object.inUse, 1);
  EXPECT_EQ(object.levelCount, 0u);
}

TEST_F(Textures, LowestFreeNameIsReusedAtOnce) {
  std::uint32_t names[2];
  AllocateTextureNames(state_, 2, names, Touch::kSkip);
  Delete({names[0]});
  Object(names[0]).hasImage = 1;  // as a damaged file may say
  EXPECT_EQ(Generate(), names[0]);
  EXPECT_EQ(Object(names[0]).hasImage, 0);
}

TEST_F(Textures, ManyNamesAtOnceEqualSingleOnes) {
  auto other = std::make_unique<DriverState>();
  for (DriverState* state : {&state_, other.get()}) {
    BindTexture(*state, gl::kTexture2D, 3, Touch::kSkip);
    BindTexture(*state, gl::kTexture2D, 7, Touch::kSkip);
  }
  std::uint32_t names[10];
  AllocateTextureNames(state_, 10, names, Touch::kSkip);
  for (std::uint32_t name : names) EXPECT_EQ(AllocateTextureName(*other, Touch::kSkip), name);
  AllocateTextureNames(state_, 2, nullptr, Touch::kSkip);
  EXPECT_EQ(state_.textureTable.size(), 15u);
}

TEST_F(Textures, NamesAskedForOneByOneTakeAStepEach) {
  constexpr std::uint32_t kNames = 200000;
  std::uint64_t steps = 0;  // slots that the searches looked at
  for (std::uint32_t i = 1; i <= kNames; ++i) {
    const std::uint32_t from = state_.lowestFreeTexture;
    std::uint32_t name = 0;
    AllocateTextureNames(state_, 1, &name, Touch::kSkip);
    ASSERT_EQ(name, i);
    ASSERT_LE(from, name);
    steps += name - from + 1;
  }
  EXPECT_LE(steps, 2 * std::uint64_t{kNames});
  // From the end down: each deletion makes its name the next one.
  for (std::uint32_t name = kNames; name > kNames - 1000; --name) {
    Delete({name});
    const std::uint32_t from = state_.lowestFreeTexture;
    ASSERT_EQ(Generate(), name);
    ASSERT_EQ(from, name);
  }
}

/// Which names are in use, and the lowest free one by a search from the beginning.
struct PlainNames {
  std::vector<bool> inUse{true};
  void Use(std::uint32_t name) {
    if (name >= inUse.size()) inUse.resize(name + 1);
    inUse[name] = true;
  }
  std::uint32_t Generate() {
    std::uint32_t name = 1;
    while (name < inUse.size() && inUse[name]) ++name;
    Use(name);
    return name;
  }
  void Delete(std::uint32_t name) {
    if (name != 0 && name < inUse.size()) inUse[name] = false;
  }
};

TEST_F(Textures, NamesAmongBindsAndDeletionsAreThoseOfAPlainSearch) {
  std::mt19937 random(11);
  for (int run = 0; run < 30; ++run) {
    state_ = DriverState();
    PlainNames plain;
    const auto range = static_cast<std::uint32_t>(1 + random() % 300);
    for (int i = 0; i < 2000; ++i) {
      const auto name = static_cast<std::uint32_t>(random() % range);
      switch (random() % 8) {
        case 0:
          Bind(name);
          plain.Use(name);
          break;
        case 1:
        case 2:
        case 3:
          Delete({name, name / 2});
          plain.Delete(name);
          plain.Delete(name / 2);
          break;
        case 4: {
          std::uint32_t names[3];
          AllocateTextureNames(state_, 3, names, Touch::kSkip);
          for (const std::uint32_t each : names) ASSERT_EQ(each, plain.Generate());
          break;
        }
        default:
          ASSERT_EQ(Generate(), plain.Generate());
      }
    }
    ASSERT_EQ(state_.textureTable.size(), plain.inUse.size());
    for (std::uint32_t i = 0; i < plain.inUse.size(); ++i) ASSERT_EQ(Object(i).inUse != 0, plain.inUse[i]) << i;
  }
}

TEST_F(Textures, BindOfAnUnknownNameGrowsTheTable) {
  Bind(500);
  ASSERT_EQ(state_.textureTable.size(), 501u);
  EXPECT_EQ(state_.boundTexture, 500u);
  EXPECT_EQ(Object(0).inUse, 1);
  for (std::uint32_t i = 1; i < 500; ++i) EXPECT_EQ(Object(i).inUse, 0);
  EXPECT_EQ(Object(500).inUse, 1);
  EXPECT_EQ(Generate(), 1u);
}

TEST_F(Textures, BindOfAnotherTargetChangesNothing) {
  BindTexture(state_, 0x0DE0, 5, Touch::kSkip);
  EXPECT_TRUE(state_.textureTable.empty());
  EXPECT_EQ(state_.boundTexture, 0u);
}

TEST_F(Textures, NamesThatNoTableHoldsFailWithTheLengthError) {
  for (std::uint32_t name : {0xFFFFFFFFu, 0xFFFFFFFEu, 0x7FFFFFFFu}) {
    EXPECT_THROW(Bind(name), std::length_error);
    EXPECT_EQ(state_.boundTexture, 0u);
    EXPECT_EQ(state_.textureTable.size(), 1u);
  }
}

TEST_F(Textures, SlotZeroTakesAnImage) {
  Upload(1, 1, gl::kLuminance, {9});
  EXPECT_EQ(Object(0).hasImage, 1);
  EXPECT_EQ(Object(0).pixels[0], 0xFF090909u);
}

TEST_F(Textures, DeletionEmptiesTheSlotButKeepsParameters) {
  Bind(1);
  Parameter(gl::kTextureMinFilter, gl::kNearest);
  Parameter(gl::kTextureWrapS, gl::kClamp);
  Upload(2, 2, gl::kLuminance, Grey(4, 1));
  Delete({1});
  const TextureObject& object = Object(1);
  EXPECT_EQ(state_.boundTexture, 0u) << "deleting the bound texture unbinds it";
  EXPECT_EQ(object.width | object.height | object.inUse | object.hasImage, 0);
  EXPECT_TRUE(object.pixels.empty());
  EXPECT_EQ(object.levelCount, 0u);
  for (int i = 0; i < kMaxLevels; ++i) {
    EXPECT_EQ(object.levelWidth[i] | object.levelHeight[i] | object.levelPitch[i] | object.levelTexelBytes[i] |
                  object.levelOffset[i],
              0u);
  }
  EXPECT_EQ(object.minFilter, gl::kNearest);
  EXPECT_EQ(object.wrapS, gl::kClamp);
  EXPECT_EQ(state_.textureTable.size(), 2u) << "the table does not shrink";
}

TEST_F(Textures, DeletionOfAnotherTextureKeepsTheBinding) {
  Bind(1);
  Bind(2);
  Delete({1});
  EXPECT_EQ(state_.boundTexture, 2u);
}

TEST_F(Textures, DeletingNameZeroOrUnknownNamesDoesNothing) {
  Upload(1, 1, gl::kLuminance, {9});
  Bind(1);
  Bind(0);
  Delete({0, 1, 0, 77, 0xFFFFFFFFu});
  EXPECT_EQ(Object(0).hasImage, 1);
  EXPECT_EQ(Object(0).inUse, 1);
  EXPECT_EQ(Object(1).inUse, 0);
}

TEST_F(Textures, ParametersAreStoredUnchecked) {
  Parameter(gl::kTextureMagFilter, gl::kNearest);
  Parameter(gl::kTextureMinFilter, 0x1234);
  Parameter(gl::kTextureWrapS, -1);
  Parameter(gl::kTextureWrapT, gl::kClampToEdge);
  Parameter(0x2804, 7);
  SetTextureParameter(state_, 0x0DE0, gl::kTextureMagFilter, 5, Touch::kSkip);
  EXPECT_EQ(Object(0).magFilter, gl::kNearest);
  EXPECT_EQ(Object(0).minFilter, 0x1234u);
  EXPECT_EQ(Object(0).wrapS, 0xFFFFFFFFu);
  EXPECT_EQ(Object(0).wrapT, gl::kClampToEdge);
}

TEST_F(Textures, ABoundNamePastTheTableHasNoObject) {
  state_.boundTexture = 9;
  EXPECT_EQ(CurrentTextureObject(state_), nullptr);
  Upload(1, 1, gl::kLuminance, {9});
  Parameter(gl::kTextureMagFilter, gl::kNearest);
  SubUpload(0, 0, 1, 1, {1});
  EXPECT_EQ(state_.textureTable.size(), 1u);
  EXPECT_EQ(Object(0).hasImage, 0);
}

TEST_F(Textures, OneByOneHasOneLevel) {
  Upload(1, 1, gl::kRgba, {1, 2, 3, 4});
  EXPECT_EQ(Object(0).levelCount, 1u);
  EXPECT_EQ(Object(0).pixels[0], 0x04010203u);
}

TEST_F(Textures, NullPixelsGiveOpaqueBlackWithItsChain) {
  Upload(4, 4, gl::kRgba, {});
  EXPECT_EQ(Object(0).hasImage, 1);
  EXPECT_EQ(Object(0).levelCount, 3u);
  ASSERT_EQ(Object(0).pixels.size(), 21u);
  for (std::size_t i = 0; i < 21; ++i) EXPECT_EQ(Object(0).pixels[i], 0xFF000000u);
}

TEST_F(Textures, FailingFormatsAndTypesLeaveOpaqueBlack) {
  Upload(2, 2, gl::kRgba, Grey(16, 200));
  Upload(2, 2, gl::kLuminanceAlpha, Grey(16, 200));
  EXPECT_EQ(Object(0).levelCount, 2u);
  for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(Object(0).pixels[i], 0xFF000000u);
  Upload(2, 2, gl::kRgba, Grey(16, 200));
  Upload(2, 2, gl::kRgba, Grey(16, 200), 0, 0x1403);
  for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(Object(0).pixels[i], 0xFF000000u);
}

TEST_F(Textures, APayloadThatEndsEarlyConvertsItsWholeRows) {
  Upload(4, 4, gl::kLuminance, Grey(11, 7));  // two rows and three pixels
  for (std::size_t i = 0; i < 16; ++i) EXPECT_EQ(Object(0).pixels[i], i < 8 ? 0xFF070707u : 0xFF000000u) << i;
}

TEST_F(Textures, OtherLevelsAndTargetsAndSizesAreIgnored) {
  Upload(2, 2, gl::kLuminance, Grey(4, 7));
  Upload(1, 1, gl::kLuminance, {9}, 1);
  Upload(1, 1, gl::kLuminance, {9}, -1);
  Upload(1, 1, gl::kLuminance, {9}, 0, gl::kUnsignedByte, 0x0DE0);
  Upload(0, 1, gl::kLuminance, {9});
  Upload(1, -1, gl::kLuminance, {9});
  EXPECT_EQ(Object(0).width, 2);
  EXPECT_EQ(Object(0).pixels[4], 0xFF070707u);
}

TEST_F(Textures, ASecondImageReplacesTheWholeObject) {
  Upload(8, 8, gl::kLuminance, Grey(64, 7));
  Parameter(gl::kTextureWrapT, gl::kClamp);
  Upload(2, 1, gl::kLuminance, {1, 2});
  EXPECT_EQ(Object(0).levelCount, 2u);
  EXPECT_EQ(Object(0).pixels.size(), 3u);
  const TextureObject& object = Object(0);
  for (int i = 2; i < kMaxLevels; ++i) {
    EXPECT_EQ(object.levelWidth[i] | object.levelHeight[i] | object.levelPitch[i] | object.levelTexelBytes[i] |
                  object.levelOffset[i],
              0u);
  }
  EXPECT_EQ(Object(0).wrapT, gl::kClamp);
  EXPECT_EQ(Object(0).pixels.data()[3], 0u) << "the word behind the last level";
}

TEST_F(Textures, AbsurdSizesFailWithTheLengthErrorAndKeepTheImage) {
  Upload(2, 2, gl::kLuminance, Grey(4, 7));
  EXPECT_THROW(Upload(0x7FFFFFFF, 0x7FFFFFFF, gl::kLuminance, Grey(4, 7)), std::length_error);
  EXPECT_THROW(Upload(65536, 65536, gl::kLuminance, Grey(4, 7)), std::length_error);
  EXPECT_EQ(Object(0).width, 2);
  EXPECT_EQ(Object(0).hasImage, 1);
  EXPECT_EQ(Object(0).pixels.size(), 5u);
}

TEST_F(Textures, SubImageWritesLevelZeroAlone) {
  Upload(4, 4, gl::kLuminance, Grey(16, 100));
  SubUpload(1, 2, 2, 2, {1, 2, 3, 4});
  EXPECT_EQ(Object(0).pixels[9], 0xFF010101u);
  EXPECT_EQ(Object(0).pixels[10], 0xFF020202u);
  EXPECT_EQ(Object(0).pixels[13], 0xFF030303u);
  EXPECT_EQ(Object(0).pixels[14], 0xFF040404u);
  EXPECT_EQ(Object(0).pixels[8], 0xFF646464u);
  EXPECT_EQ(Object(0).pixels[11], 0xFF646464u);
  for (std::size_t i = 16; i < 21; ++i) EXPECT_EQ(Object(0).pixels[i], 0xFF646464u) << "levels above keep old texels";
}

TEST_F(Textures, SubImageOutsideTheImageDoesNothing) {
  Upload(4, 4, gl::kLuminance, Grey(16, 100));
  const std::vector<std::uint8_t> payload = Grey(64, 1);
  SubUpload(3, 0, 2, 1, payload);
  SubUpload(0, 3, 1, 2, payload);
  SubUpload(-1, 0, 1, 1, payload);
  SubUpload(0, -1, 1, 1, payload);
  SubUpload(0x7FFFFFFF, 0, 1, 1, payload);
  SubUpload(1, 0, 0x7FFFFFFF, 1, payload);
  SubUpload(0, 0, 0, 1, payload);
  SubUpload(0, 0, 1, 1, {});
  SubUpload(0, 0, 1, 1, payload, 1);
  for (std::size_t i = 0; i < 21; ++i) EXPECT_EQ(Object(0).pixels[i], 0xFF646464u);
}

TEST_F(Textures, SubImageWithoutAnImageDoesNothing) {
  Bind(1);
  SubUpload(0, 0, 1, 1, {1});
  EXPECT_EQ(Object(1).hasImage, 0);
  EXPECT_TRUE(Object(1).pixels.empty());
}

TEST_F(Textures, SubImageOfAFailingRowStopsThere) {
  Upload(4, 4, gl::kLuminance, Grey(16, 100));
  SubUpload(0, 0, 4, 4, Grey(7, 1));  // one row and three pixels
  EXPECT_EQ(Object(0).pixels[3], 0xFF010101u);
  EXPECT_EQ(Object(0).pixels[4], 0xFF646464u);
}

TEST_F(Textures, SubImageOfTexelsThatAreNotThereDoesNothing) {
  Upload(2, 2, gl::kLuminance, Grey(4, 100));
  Object(0).width = 1000;  // as a damaged file may say
  SubUpload(900, 1, 1, 1, {1});
  EXPECT_EQ(Object(0).pixels[0], 0xFF646464u);
}

class TouchedTextures : public ::testing::Test {
 protected:
  TouchedTextures() {
    DriverStateInstance() = DriverState();
    LiveKeyframeInstance() = LiveKeyframe();
    Settings().pipelineCutoff = 5;
    BindTexture(state_, gl::kTexture2D, 1, Touch::kNote);
    const std::uint8_t texel = 3;
    UploadImage(state_, gl::kTexture2D, 0, 1, 1, gl::kLuminance, gl::kUnsignedByte, &texel, 1, Touch::kNote);
    TakeKeyframe();
  }
  std::size_t Saved() const { return LiveKeyframeInstance().pendingIds.size(); }
  DriverState& state_ = DriverStateInstance();
};

TEST_F(TouchedTextures, CallsThatChangeNothingSaveNothing) {
  BindTexture(state_, gl::kTexture2D, 1, Touch::kNote);
  SetTextureParameter(state_, gl::kTexture2D, gl::kTextureMagFilter, gl::kLinear, Touch::kNote);
  EXPECT_EQ(Saved(), 0u);
}

TEST_F(TouchedTextures, ChangesSaveTheTextureFirst) {
  SetTextureParameter(state_, gl::kTexture2D, gl::kTextureMagFilter, gl::kNearest, Touch::kNote);
  ASSERT_EQ(Saved(), 1u);
  EXPECT_EQ(LiveKeyframeInstance().pendingIds[0], 1u);
  EXPECT_EQ(LiveKeyframeInstance().pendingRecords[0].magFilter, gl::kLinear);
}

TEST_F(TouchedTextures, UploadAndDeletionSaveTheOldTexels) {
  const std::uint8_t texel = 9;
  UploadSubImage(state_, gl::kTexture2D, 0, 0, 0, 1, 1, gl::kLuminance, gl::kUnsignedByte, &texel, 1, Touch::kNote);
  const std::uint32_t name = 1;
  DeleteTextures(state_, 1, &name, Touch::kNote);
  EXPECT_EQ(AllocateTextureName(state_, Touch::kNote), 1u);
  UploadImage(state_, gl::kTexture2D, 0, 1, 1, gl::kLuminance, gl::kUnsignedByte, &texel, 1, Touch::kNote);
  ASSERT_EQ(Saved(), 2u) << "name 1 once, and name 0, which became the bound one";
  EXPECT_EQ(LiveKeyframeInstance().pendingRecords[0].pixels[0], 0xFF030303u);
}

TEST_F(TouchedTextures, EachOperationSavesOnItsOwn) {
  const auto saved = [] { return LiveKeyframeInstance().pendingRecords.at(0); };
  const std::uint32_t name = 1;
  const std::uint8_t texel = 9;
  UploadImage(state_, gl::kTexture2D, 0, 1, 1, gl::kLuminance, gl::kUnsignedByte, &texel, 1, Touch::kNote);
  ASSERT_EQ(Saved(), 1u);
  EXPECT_EQ(saved().pixels[0], 0xFF030303u);
  TakeKeyframe();
  DeleteTextures(state_, 1, &name, Touch::kNote);
  ASSERT_EQ(Saved(), 1u);
  EXPECT_EQ(saved().inUse, 1);
  EXPECT_EQ(saved().pixels[0], 0xFF090909u);
  TakeKeyframe();
  BindTexture(state_, gl::kTexture2D, name, Touch::kNote);
  ASSERT_EQ(Saved(), 1u);
  EXPECT_EQ(saved().inUse, 0);
  DeleteTextures(state_, 1, &name, Touch::kSkip);
  TakeKeyframe();
  EXPECT_EQ(AllocateTextureName(state_, Touch::kNote), name);
  ASSERT_EQ(Saved(), 1u);
  EXPECT_EQ(saved().inUse, 0);
}

TEST_F(TouchedTextures, TheInterpreterDoesNotNote) {
  SetTextureParameter(state_, gl::kTexture2D, gl::kTextureMagFilter, gl::kNearest, Touch::kSkip);
  const std::uint32_t name = 1;
  DeleteTextures(state_, 1, &name, Touch::kSkip);
  EXPECT_EQ(Saved(), 0u);
}

TEST_F(TouchedTextures, ReplayHandsOutTheSameNames) {
  std::uint32_t first[3], second[3];
  const std::uint32_t freed = 1;
  DeleteTextures(state_, 1, &freed, Touch::kNote);
  AllocateTextureNames(state_, 3, first, Touch::kNote);
  Keyframe keyframe;
  BuildKeyframe(keyframe);
  ApplyKeyframe(keyframe);
  DeleteTextures(state_, 1, &freed, Touch::kSkip);
  AllocateTextureNames(state_, 3, second, Touch::kSkip);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(first[i], second[i]);
}

TEST_F(TouchedTextures, NamesAfterARewindAreThoseOfAPlainSearch) {
  std::mt19937 random(12);
  for (int frame = 0; frame < 400; ++frame) {
    TakeKeyframe();
    for (int i = static_cast<int>(random() % 30); i > 0; --i) {
      const auto name = static_cast<std::uint32_t>(1 + random() % 60);
      if (random() % 3 == 0) {
        BindTexture(state_, gl::kTexture2D, name, Touch::kNote);
      } else if (random() % 2 == 0) {
        DeleteTextures(state_, 1, &name, Touch::kNote);
      } else {
        AllocateTextureName(state_, Touch::kNote);
      }
    }
    auto clone = std::make_unique<DriverState>();
    StateSnapshot snapshot = {};
    CaptureBaseline(*clone, snapshot);
    Keyframe keyframe;
    BuildKeyframe(keyframe);
    if (random() % 2 == 0) ApplyKeyframe(keyframe);
    for (DriverState* state : {&state_, clone.get()}) {
      std::uint32_t lowest = 1;
      while (lowest < state->textureTable.size() && state->textureTable[lowest].inUse != 0) ++lowest;
      ASSERT_EQ(AllocateTextureName(*state, state == &state_ ? Touch::kNote : Touch::kSkip), lowest) << frame;
    }
  }
}

}  // namespace
}  // namespace tlr2
