// The mip chain: layout of the levels, and each level as the rounded mean of the one above.
#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "textures/texture_ops.h"

namespace tlr2 {
namespace {

/// Two of a texel's channels, 16 bits apart, so that four texels' sums and the rounding fit without carries.
constexpr std::uint32_t kPairMask = 0x00FF00FFu;
constexpr std::uint32_t kPairRounding = 0x00020002u;

/// `Word` is a texel or a vector of texels.
template <typename Word>
constexpr Word MeanOfFour(Word a, Word b, Word c, Word d) noexcept {
  const Word low = (a & kPairMask) + (b & kPairMask) + (c & kPairMask) + (d & kPairMask) + kPairRounding;
  const Word high =
      ((a >> 8) & kPairMask) + ((b >> 8) & kPairMask) + ((c >> 8) & kPairMask) + ((d >> 8) & kPairMask) + kPairRounding;
  return ((low >> 2) & kPairMask) | (((high >> 2) & kPairMask) << 8);
}

using Four = std::uint32_t __attribute__((vector_size(16)));
constexpr std::uint32_t kBlock = 4;

Four LoadFour(const std::uint32_t* texels) noexcept {
  Four four;
  std::memcpy(&four, texels, sizeof four);
  return four;
}

/// Four texels from eight columns of two rows.
void MeanBlock(const std::uint32_t* upper, const std::uint32_t* lower, std::uint32_t* out) noexcept {
  const Four a = LoadFour(upper), b = LoadFour(upper + 4), c = LoadFour(lower), d = LoadFour(lower + 4);
  const Four mean = MeanOfFour(__builtin_shufflevector(a, b, 0, 2, 4, 6), __builtin_shufflevector(a, b, 1, 3, 5, 7),
                               __builtin_shufflevector(c, d, 0, 2, 4, 6), __builtin_shufflevector(c, d, 1, 3, 5, 7));
  std::memcpy(out, &mean, sizeof mean);
}

}  // namespace

void GenerateLevel(TexelVector& pixels, std::uint32_t sourceOffset, std::uint32_t sourceWidth,
                   std::uint32_t sourceHeight, std::uint32_t destinationOffset, std::uint32_t destinationWidth,
                   std::uint32_t destinationHeight) noexcept {
  const std::uint32_t* source = pixels.data() + sourceOffset / 4;
  std::uint32_t* destination = pixels.data() + destinationOffset / 4;
  // Columns of which the right neighbour exists; beyond, a column stands for its neighbour.
  const std::uint32_t paired = std::min(destinationWidth, sourceWidth / 2);
  for (std::uint32_t y = 0; y < destinationHeight; ++y) {
    const std::uint32_t below = 2 * y + 1 < sourceHeight ? 2 * y + 1 : 2 * y;
    const std::uint32_t* upper = source + std::size_t{2 * y} * sourceWidth;
    const std::uint32_t* lower = source + std::size_t{below} * sourceWidth;
    std::uint32_t* out = destination + std::size_t{y} * destinationWidth;
    std::uint32_t x = 0;
    for (; x + kBlock <= paired; x += kBlock) MeanBlock(upper + 2 * x, lower + 2 * x, out + x);
    for (; x < destinationWidth; ++x) {
      const std::uint32_t left = 2 * x;
      const std::uint32_t right = left + 1 < sourceWidth ? left + 1 : left;
      out[x] = MeanOfFour(upper[left], upper[right], lower[left], lower[right]);
    }
  }
}

std::size_t LayOutLevels(TextureObject& object) {
  auto w = static_cast<std::uint32_t>(object.width), h = static_cast<std::uint32_t>(object.height);
  std::uint64_t offset = 0;  // texels
  std::uint32_t count = 0;
  for (;;) {
    object.levelWidth[count] = w;
    object.levelHeight[count] = h;
    object.levelPitch[count] = w * 4;
    object.levelTexelBytes[count] = 4;
    object.levelOffset[count] = static_cast<std::uint32_t>(offset * 4);
    offset += std::uint64_t{w} * h;
    ++count;
    if ((w < 2 && h < 2) || count == kMaxLevels) break;
    if (w >= 2) w /= 2;
    if (h >= 2) h /= 2;
  }
  for (std::uint32_t i = count; i < kMaxLevels; ++i) {
    object.levelWidth[i] = 0;
    object.levelHeight[i] = 0;
    object.levelPitch[i] = 0;
    object.levelTexelBytes[i] = 0;
    object.levelOffset[i] = 0;
  }
  object.levelCount = count;
  if (offset > TexelVector::kLimit) throw std::length_error("vector too long");
  return static_cast<std::size_t>(offset);
}

void BuildMipChain(TextureObject& object) {
  object.pixels.Extend(LayOutLevels(object));  // every level is written whole
  for (std::uint32_t i = 1; i < object.levelCount; ++i) {
    GenerateLevel(object.pixels, object.levelOffset[i - 1], object.levelWidth[i - 1], object.levelHeight[i - 1],
                  object.levelOffset[i], object.levelWidth[i], object.levelHeight[i]);
  }
}

}  // namespace tlr2
