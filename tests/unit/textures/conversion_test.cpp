// Pixel conversion and the mip chain against forms written a byte at a time.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

#include "textures/texture_ops.h"

namespace tlr2 {
namespace {

struct Format {
  GLenum format;
  int bytes;
  int r, g, b, a;  // source byte of each channel; -1: 255
};
constexpr Format kFormats[] = {
    {gl::kAlpha, 1, -1, -1, -1, 0},   {gl::kRgb, 3, 0, 1, 2, -1}, {gl::kRgba, 4, 0, 1, 2, 3},
    {gl::kLuminance, 1, 0, 0, 0, -1}, {gl::kBgr, 3, 2, 1, 0, -1}, {gl::kBgra, 4, 2, 1, 0, 3},
};

std::vector<std::uint8_t> RandomBytes(std::mt19937& random, std::size_t count) {
  std::vector<std::uint8_t> bytes(count);
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random() >> 5);
  return bytes;
}

std::uint32_t TexelOf(const Format& format, const std::uint8_t* pixel) {
  const auto channel = [&](int index) { return index < 0 ? 255u : std::uint32_t{pixel[index]}; };
  return channel(format.a) * 0x1000000u + channel(format.r) * 0x10000u + channel(format.g) * 0x100u + channel(format.b);
}

TEST(PixelConversion, EveryFormatAndLengthFollowsTheTable) {
  std::mt19937 random(20);
  for (const Format& format : kFormats) {
    for (std::int32_t count = 0; count < 75; ++count) {
      const auto bytes = RandomBytes(random, static_cast<std::size_t>(count * format.bytes));
      std::vector<std::uint32_t> texels(static_cast<std::size_t>(count) + 1, 0xDEADBEEFu);
      ASSERT_TRUE(ConvertPixelRow(format.format, gl::kUnsignedByte, bytes.data(), texels.data(), count));
      for (std::int32_t i = 0; i < count; ++i) {
        ASSERT_EQ(texels[static_cast<std::size_t>(i)], TexelOf(format, bytes.data() + i * format.bytes))
            << std::hex << format.format << " at " << i << " of " << count;
      }
      EXPECT_EQ(texels.back(), 0xDEADBEEFu) << "wrote past the row";
    }
  }
}

TEST(PixelConversion, UnknownFormatsAndTypesFailAndWriteNothing) {
  const std::uint8_t bytes[16] = {1, 2, 3};
  std::uint32_t texels[4] = {5, 5, 5, 5};
  for (GLenum format : {gl::kLuminanceAlpha, 0u, 0x1903u, 0xFFFFFFFFu}) {
    EXPECT_FALSE(ConvertPixelRow(format, gl::kUnsignedByte, bytes, texels, 4));
  }
  for (GLenum type : {0x1400u, 0x1403u, 0x1406u}) EXPECT_FALSE(ConvertPixelRow(gl::kRgba, type, bytes, texels, 4));
  for (std::uint32_t texel : texels) EXPECT_EQ(texel, 5u);
}

TEST(PayloadBytes, CountsFourForEveryUnknownFormat) {
  EXPECT_EQ(PayloadBytes(gl::kRgb, 5, 7, true), 105u);
  EXPECT_EQ(PayloadBytes(gl::kBgr, 5, 7, true), 105u);
  EXPECT_EQ(PayloadBytes(gl::kLuminance, 5, 7, true), 35u);
  EXPECT_EQ(PayloadBytes(gl::kAlpha, 5, 7, true), 35u);
  EXPECT_EQ(PayloadBytes(gl::kRgba, 5, 7, true), 140u);
  EXPECT_EQ(PayloadBytes(gl::kLuminanceAlpha, 5, 7, true), 140u);
  EXPECT_EQ(PayloadBytes(0, 5, 7, true), 140u);
}

TEST(PayloadBytes, IsZeroWithoutPixelsOrSize) {
  EXPECT_EQ(PayloadBytes(gl::kRgba, 5, 7, false), 0u);
  EXPECT_EQ(PayloadBytes(gl::kRgba, 0, 7, true), 0u);
  EXPECT_EQ(PayloadBytes(gl::kRgba, 5, -7, true), 0u);
  EXPECT_EQ(PayloadBytes(gl::kRgba, -5, -7, true), 0u);
}

TEST(PayloadBytes, DoesNotOverflow) {
  EXPECT_EQ(PayloadBytes(gl::kRgba, 0x7FFFFFFF, 0x7FFFFFFF, true), 4u * 0x7FFFFFFFull * 0x7FFFFFFFull);
}

// One level, a channel at a time, with the columns and rows clamped.
std::vector<std::uint32_t> PlainLevel(const std::vector<std::uint32_t>& source, std::uint32_t width,
                                      std::uint32_t height, std::uint32_t outWidth, std::uint32_t outHeight) {
  std::vector<std::uint32_t> out;
  for (std::uint32_t y = 0; y < outHeight; ++y) {
    for (std::uint32_t x = 0; x < outWidth; ++x) {
      const std::uint32_t columns[2] = {2 * x, std::min(2 * x + 1, width - 1)};
      const std::uint32_t rows[2] = {2 * y, std::min(2 * y + 1, height - 1)};
      std::uint32_t texel = 0;
      for (int shift = 0; shift < 32; shift += 8) {
        std::uint32_t sum = 0;
        for (std::uint32_t row : rows) {
          for (std::uint32_t column : columns) sum += source[row * width + column] >> shift & 255u;
        }
        texel |= (sum + 2) / 4 << shift;
      }
      out.push_back(texel);
    }
  }
  return out;
}

TextureObject RandomTexture(std::mt19937& random, std::int32_t width, std::int32_t height) {
  TextureObject object;
  object.width = width;
  object.height = height;
  object.pixels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0);
  for (std::size_t i = 0; i < object.pixels.size(); ++i) {
    object.pixels[i] = random() % 4 == 0 ? 0xFFFFFFFFu : static_cast<std::uint32_t>(random());
  }
  return object;
}

TEST(MipChain, EveryLevelIsTheRoundedMeanOfTheOneAbove) {
  std::mt19937 random(21);
  for (const auto& [width, height] :
       {std::pair{1, 1}, {2, 2}, {3, 5}, {1, 8}, {8, 1}, {64, 64}, {33, 17}, {100, 7}, {37, 1}, {256, 3}}) {
    TextureObject object = RandomTexture(random, width, height);
    BuildMipChain(object);
    std::uint32_t w = static_cast<std::uint32_t>(width), h = static_cast<std::uint32_t>(height), offset = 0;
    std::vector<std::uint32_t> above(object.pixels.data(), object.pixels.data() + w * h);
    for (std::uint32_t level = 0; level < object.levelCount; ++level) {
      ASSERT_EQ(object.levelWidth[level], w);
      ASSERT_EQ(object.levelHeight[level], h);
      ASSERT_EQ(object.levelPitch[level], 4 * w);
      ASSERT_EQ(object.levelTexelBytes[level], 4u);
      ASSERT_EQ(object.levelOffset[level], 4 * offset);
      const std::uint32_t* texels = object.pixels.data() + offset;
      ASSERT_TRUE(std::equal(above.begin(), above.end(), texels)) << width << "x" << height << " level " << level;
      offset += w * h;
      const std::uint32_t nextW = w > 1 ? w / 2 : w, nextH = h > 1 ? h / 2 : h;
      if (level + 1 < object.levelCount) above = PlainLevel(above, w, h, nextW, nextH);
      w = nextW;
      h = nextH;
    }
    EXPECT_EQ(object.pixels.size(), offset);
    EXPECT_EQ(object.levelWidth[object.levelCount - 1], 1u);
    EXPECT_EQ(object.levelHeight[object.levelCount - 1], 1u);
  }
}

TEST(MipChain, ThreeByFiveGoesToOneByTwoAndOneByOne) {
  std::mt19937 random(22);
  TextureObject object = RandomTexture(random, 3, 5);
  BuildMipChain(object);
  ASSERT_EQ(object.levelCount, 3u);
  EXPECT_EQ(object.levelWidth[1], 1u);
  EXPECT_EQ(object.levelHeight[1], 2u);
  EXPECT_EQ(object.levelWidth[2], 1u);
  EXPECT_EQ(object.levelHeight[2], 1u);
  for (int i = 3; i < kMaxLevels; ++i) {
    EXPECT_EQ(object.levelWidth[i] | object.levelHeight[i] | object.levelPitch[i] | object.levelTexelBytes[i] |
                  object.levelOffset[i],
              0u);
  }
}

TEST(MipChain, LastColumnAndRowRepeatWhereTheBoxReachesPast) {
  TexelVector pixels;
  pixels.assign(9 + 4, 0);
  for (std::uint32_t i = 0; i < 9; ++i) pixels[i] = (i + 1) * 0x01010101u * 4;
  GenerateLevel(pixels, 0, 3, 3, 36, 2, 2);
  EXPECT_EQ(pixels[9], 12u * 0x01010101u);   // 4, 8, 16, 20
  EXPECT_EQ(pixels[10], 18u * 0x01010101u);  // 12, 12, 24, 24
  EXPECT_EQ(pixels[11], 30u * 0x01010101u);  // 28, 32 twice
  EXPECT_EQ(pixels[12], 36u * 0x01010101u);  // 36 four times
}

TEST(MipChain, TiesRoundUpAndChannelsDoNotCarry) {
  TexelVector pixels;
  pixels.assign(5, 0);
  pixels[0] = 0xFF00FF01u;
  pixels[1] = 0xFF00FF01u;
  pixels[2] = 0xFF00FF00u;
  pixels[3] = 0xFF02FF00u;
  GenerateLevel(pixels, 0, 2, 2, 16, 1, 1);
  EXPECT_EQ(pixels[4], 0xFF01FF01u);
}

TEST(MipChain, SixtyFiveThousandWideStopsAtSixteenLevels) {
  TextureObject object;
  object.width = 65536;
  object.height = 1;
  object.pixels.assign(65536, 0xFF112233u);
  BuildMipChain(object);
  EXPECT_EQ(object.levelCount, 16u);
  EXPECT_EQ(object.levelWidth[15], 2u);
  EXPECT_EQ(object.levelHeight[15], 1u);
  EXPECT_EQ(object.pixels[object.pixels.size() - 1], 0xFF112233u);
}

TEST(TexelVector, ZeroWordsStandAheadAndBehind) {
  TextureObject object;
  object.width = object.height = 1;
  object.pixels.assign(1, 0xFFFFFFFFu);
  BuildMipChain(object);
  EXPECT_EQ(object.pixels.size(), 1u);
  EXPECT_EQ(object.pixels.data()[-1], 0u);
  EXPECT_EQ(object.pixels.data()[1], 0u);

  object.width = object.height = 8;
  object.pixels.assign(64, 0xFFFFFFFFu);
  EXPECT_EQ(object.pixels.data()[64], 0u);
  BuildMipChain(object);
  EXPECT_EQ(object.pixels.size(), 85u);
  EXPECT_EQ(object.pixels.data()[-1], 0u);
  EXPECT_EQ(object.pixels.data()[64], 0xFFFFFFFFu);
  EXPECT_EQ(object.pixels.data()[85], 0u);
  object.pixels.resize(10);
  EXPECT_EQ(object.pixels.data()[10], 0u);
  const TextureObject copy = object;
  EXPECT_EQ(copy.pixels.data()[-1], 0u);
  EXPECT_EQ(copy.pixels.data()[10], 0u);
}

TEST(TexelVector, CopiesShareTexelsUntilOneIsWrittenThrough) {
  TexelVector first;
  first.assign(4, 7);
  TexelVector second = first;
  const TexelVector& readFirst = first;
  const TexelVector& readSecond = second;
  EXPECT_EQ(readFirst.data(), readSecond.data());
  second[2] = 9;
  EXPECT_NE(readFirst.data(), readSecond.data());
  EXPECT_EQ(readFirst[2], 7u);
  EXPECT_EQ(readSecond[2], 9u);
  EXPECT_EQ(readSecond.data()[-1], 0u);
  EXPECT_EQ(readSecond.data()[4], 0u);

  TexelVector third = first;
  third.Renew(2);
  third[0] = third[1] = 1;
  EXPECT_EQ(readFirst.size(), 4u);
  EXPECT_EQ(readFirst[0], 7u);
  TexelVector fourth = first;
  fourth.resize(6);
  EXPECT_EQ(readFirst.size(), 4u);
  EXPECT_EQ(readFirst.data()[4], 0u);
  TexelVector fifth = first;
  fifth.reset();
  EXPECT_TRUE(fifth.empty());
  EXPECT_EQ(readFirst[3], 7u);
}

TEST(TexelVector, ALargeBlockWaitsForTheNextUploadUntilTheFramesEnd) {
  constexpr std::size_t kLarge = 100000;
  TexelVector::DropSpare();
  EXPECT_EQ(TexelVector::SpareWords(), 0u);
  {
    TexelVector small, large;
    small.assign(100, 1);
    large.assign(kLarge, 0xFFFFFFFFu);
    const TexelVector copy = large;
    large.reset();
    EXPECT_EQ(TexelVector::SpareWords(), 0u);  // the copy still holds it
  }
  EXPECT_GE(TexelVector::SpareWords(), kLarge);
  TexelVector tooLarge, tooSmall, fits;
  tooLarge.Renew(kLarge * 2);
  tooSmall.Renew(kLarge / 4);
  EXPECT_GE(TexelVector::SpareWords(), kLarge);
  fits.Renew(kLarge * 3 / 4, kLarge);
  EXPECT_EQ(TexelVector::SpareWords(), 0u);
  EXPECT_EQ(fits.size(), kLarge * 3 / 4);
  EXPECT_EQ(std::as_const(fits).data()[-1], 0u);
  EXPECT_EQ(std::as_const(fits).data()[fits.size()], 0u);
  fits.reset();
  tooLarge.reset();  // the latest stays, the one before is given back
  EXPECT_GE(TexelVector::SpareWords(), kLarge * 2);
  TexelVector::DropSpare();
  EXPECT_EQ(TexelVector::SpareWords(), 0u);
}

}  // namespace
}  // namespace tlr2
