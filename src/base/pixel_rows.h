// Rows of packed colours in another order of bytes, a vector at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tlr2 {

using Pixels4 = std::uint32_t __attribute__((vector_size(16)));

/// Red and blue change places; green and alpha stay. `Pixel` is a word or a vector of words.
template <typename Pixel>
constexpr Pixel SwapRedBlue(Pixel pixel) noexcept {
  return (pixel & 0xFF00FF00u) | (pixel >> 16 & 0xFFu) | (pixel & 0xFFu) << 16;
}

/// Whole vectors of a row, where the processor has one instruction to move bytes about. Returns the pixels done.
[[gnu::target("ssse3")]] inline std::size_t SwapRedBlueByShuffle(const std::uint8_t* source, std::uint8_t* out,
                                                                 std::size_t count) noexcept {
  using Bytes16 = std::uint8_t __attribute__((vector_size(16)));
  std::size_t done = 0;
  for (; count - done >= 4; done += 4) {
    Bytes16 pixels;
    std::memcpy(&pixels, source + done * 4, sizeof pixels);
    pixels = __builtin_shufflevector(pixels, pixels, 2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15);
    std::memcpy(out + done * 4, &pixels, sizeof pixels);
  }
  return done;
}

/// The same for every processor.
inline std::size_t SwapRedBlueByShifts(const std::uint8_t* source, std::uint8_t* out, std::size_t count) noexcept {
  std::size_t done = 0;
  for (; count - done >= 4; done += 4) {
    Pixels4 pixels;
    std::memcpy(&pixels, source + done * 4, sizeof pixels);
    pixels = SwapRedBlue(pixels);
    std::memcpy(out + done * 4, &pixels, sizeof pixels);
  }
  return done;
}

/// Four-byte pixels, B, G, R, A to R, G, B, A or back.
inline void SwapRedBlueRow(const std::uint8_t* source, std::uint8_t* out, std::size_t count) noexcept {
  const std::size_t done = __builtin_cpu_supports("ssse3") ? SwapRedBlueByShuffle(source, out, count)
                                                           : SwapRedBlueByShifts(source, out, count);
  source += done * 4;
  out += done * 4;
  count -= done;
  for (; count != 0; --count, source += 4, out += 4) {
    std::uint32_t pixel;
    std::memcpy(&pixel, source, sizeof pixel);
    pixel = SwapRedBlue(pixel);
    std::memcpy(out, &pixel, sizeof pixel);
  }
}

/// Four-byte pixels to three bytes, the alpha left out: blue first, or red first.
template <bool RedFirst>
inline void PackTriplesRow(const std::uint8_t* source, std::uint8_t* out, std::size_t count) noexcept {
  const auto ordered = [](auto pixel) { return RedFirst ? SwapRedBlue(pixel) : pixel; };
  // Four pixels make three words.
  for (; count >= 4; count -= 4, source += 16, out += 12) {
    Pixels4 p;
    std::memcpy(&p, source, sizeof p);
    p = ordered(p) & 0x00FFFFFFu;
    const std::uint32_t words[3] = {p[0] | p[1] << 24, p[1] >> 8 | p[2] << 16, p[2] >> 16 | p[3] << 8};
    std::memcpy(out, words, sizeof words);
  }
  for (; count != 0; --count, source += 4, out += 3) {
    std::uint32_t pixel;
    std::memcpy(&pixel, source, sizeof pixel);
    pixel = ordered(pixel);
    std::memcpy(out, &pixel, 3);
  }
}

}  // namespace tlr2
