// Application pixels to 0xAARRGGBB, a row at a time. Rows go in blocks of 16 pixels, which the compiler turns into
// vector code, and a rest.
#include <cstring>

#include "base/color.h"
#include "base/pixel_rows.h"
#include "textures/texture_ops.h"

namespace tlr2 {
namespace {

constexpr std::int32_t kBlock = 16;

std::uint32_t LoadWord(const std::uint8_t* source) noexcept {
  std::uint32_t word;
  std::memcpy(&word, source, sizeof word);
  return word;
}

/// `texel` makes one texel of `bytes` source bytes.
template <int Bytes, typename Texel>
void ConvertBlocks(const std::uint8_t* __restrict source, std::uint32_t* __restrict destination, std::int32_t count,
                   Texel texel) noexcept {
  for (; count >= kBlock; count -= kBlock) {
    for (int i = 0; i < kBlock; ++i) destination[i] = texel(source + Bytes * i);
    source += Bytes * kBlock;
    destination += kBlock;
  }
  for (std::int32_t i = 0; i < count; ++i) destination[i] = texel(source + Bytes * i);
}

/// Three-byte pixels, four at a time out of three words.
template <bool RedFirst>
void ConvertTriples(const std::uint8_t* __restrict source, std::uint32_t* __restrict destination,
                    std::int32_t count) noexcept {
  const auto texel = [](std::uint32_t word) {
    word |= 0xFF000000u;
    return RedFirst ? SwapRedBlue(word) : word;
  };
  for (; count >= 4; count -= 4) {
    const std::uint32_t a = LoadWord(source), b = LoadWord(source + 4), c = LoadWord(source + 8);
    destination[0] = texel(a);
    destination[1] = texel(a >> 24 | b << 8);
    destination[2] = texel(b >> 16 | c << 16);
    destination[3] = texel(c >> 8);
    source += 12;
    destination += 4;
  }
  for (std::int32_t i = 0; i < count; ++i) {
    const std::uint8_t* p = source + 3 * i;
    destination[i] = texel(static_cast<std::uint32_t>(p[0] | p[1] << 8 | p[2] << 16));
  }
}

}  // namespace

bool ConvertPixelRow(GLenum format, GLenum type, const std::uint8_t* source, std::uint32_t* destination,
                     std::int32_t count) noexcept {
  if (type != gl::kUnsignedByte) return false;
  switch (format) {
    case gl::kAlpha:
      ConvertBlocks<1>(source, destination, count,
                       [](const std::uint8_t* p) { return std::uint32_t{*p} << 24 | 0x00FFFFFFu; });
      return true;
    case gl::kRgb:
      ConvertTriples<true>(source, destination, count);
      return true;
    case gl::kRgba:
      ConvertBlocks<4>(source, destination, count, [](const std::uint8_t* p) { return SwapRedBlue(LoadWord(p)); });
      return true;
    case gl::kLuminance:
      ConvertBlocks<1>(source, destination, count, [](const std::uint8_t* p) {
        const std::uint32_t luminance = *p;
        return 0xFF000000u | luminance << 16 | luminance << 8 | luminance;
      });
      return true;
    case gl::kBgr:
      ConvertTriples<false>(source, destination, count);
      return true;
    case gl::kBgra:
      if (count > 0) std::memcpy(destination, source, static_cast<std::size_t>(count) * 4);
      return true;
    default:
      return false;
  }
}

}  // namespace tlr2
