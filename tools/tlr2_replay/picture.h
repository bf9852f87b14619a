// Pictures as people see them, and what two of them differ in.
#pragma once

#include <cstdint>
#include <vector>

#include "tlr2_replay/png.h"
#include "tlr2_replay/session.h"

namespace tlr2::tool {

/// A picture of its own memory.
struct StoredPicture {
  std::int32_t width = 0, height = 0;
  std::vector<std::uint32_t> pixels;  // 0xAARRGGBB, rows tight
  PictureView View() const noexcept { return {pixels.data(), width, height, static_cast<std::size_t>(width)}; }
};
StoredPicture StorePicture(const PictureView& picture);

/// The picture without its alpha, which is not shown.
Bytes PngOfPicture(const PictureView& picture);
/// Depths from `near` (white) to `far` (black); the range is that of the depths met, but for the far clear value.
Bytes PngOfDepth(const DepthView& depth);
/// At most `width` pixels wide, by averaging.
StoredPicture Shrunk(const PictureView& picture, std::int32_t width);

struct Comparison {
  std::uint64_t pixels = 0;     // of either picture, at their places
  std::uint64_t differing = 0;  // beyond the tolerance
  std::uint64_t unjudged = 0;
  int worst = 0;  // the greatest difference of any channel, and where it is first met
  std::int32_t worstX = 0, worstY = 0;
  std::uint32_t worstA = 0, worstB = 0;  // the two pixels there
  std::uint64_t histogram[256] = {};     // of each judged pixel's greatest channel difference
  bool sameSize = true;
};

/// Greatest difference of the four channels.
int PixelDifference(std::uint32_t a, std::uint32_t b) noexcept;
/// `known`, where given, has a byte a pixel; pixels with 0 are not judged.
Comparison Compare(const PictureView& a, const PictureView& b, int tolerance,
                   const std::vector<std::uint8_t>* known = nullptr);
/// Where the two agree a dim grey picture, elsewhere red to yellow by the difference; blue where it is not judged.
StoredPicture DifferencePicture(const PictureView& a, const PictureView& b, int tolerance,
                                const std::vector<std::uint8_t>* known = nullptr);

}  // namespace tlr2::tool
