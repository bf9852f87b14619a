// Conversions, shrinking and comparing of pictures.
#include "tlr2_replay/picture.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace tlr2::tool {
namespace {

constexpr std::uint32_t kUnjudgedColor = 0xFF3060C0u;

std::uint32_t ChannelOf(std::uint32_t pixel, int shift) noexcept { return pixel >> shift & 0xFFu; }

void PutRgb(std::uint8_t* to, std::uint32_t pixel) noexcept {
  to[0] = static_cast<std::uint8_t>(pixel >> 16);
  to[1] = static_cast<std::uint8_t>(pixel >> 8);
  to[2] = static_cast<std::uint8_t>(pixel);
}

std::uint32_t DimGrey(std::uint32_t pixel) noexcept {
  const std::uint32_t sum = 2 * ChannelOf(pixel, 16) + 5 * ChannelOf(pixel, 8) + ChannelOf(pixel, 0);
  const std::uint32_t grey = 24 + sum / 32;
  return 0xFF000000u | grey << 16 | grey << 8 | grey;
}

/// Small differences are what is looked for: they must be seen.
std::uint32_t HeatOf(int difference) noexcept {
  const auto level = static_cast<std::uint32_t>(std::min(255.0, 40.0 * std::log2(1.0 + difference)));
  return 0xFFFF0000u | level << 8 | level / 8;
}

bool Judged(const std::vector<std::uint8_t>* known, std::size_t index) noexcept {
  return known == nullptr || index >= known->size() || (*known)[index] != 0;
}

}  // namespace

StoredPicture StorePicture(const PictureView& picture) {
  StoredPicture stored;
  stored.width = picture.width;
  stored.height = picture.height;
  stored.pixels.reserve(static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height));
  for (std::int32_t y = 0; y < picture.height; ++y)
    stored.pixels.insert(stored.pixels.end(), picture.Row(y), picture.Row(y) + picture.width);
  return stored;
}

Bytes PngOfPicture(const PictureView& picture) {
  Bytes rgb(static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height) * 3);
  std::uint8_t* to = rgb.data();
  for (std::int32_t y = 0; y < picture.height; ++y)
    for (std::int32_t x = 0; x < picture.width; ++x, to += 3) PutRgb(to, picture.Row(y)[x]);
  return EncodePng(rgb.data(), picture.width, picture.height, 3);
}

Bytes PngOfDepth(const DepthView& depth) {
  const std::size_t count = static_cast<std::size_t>(depth.width) * static_cast<std::size_t>(depth.height);
  float near = INFINITY, far = -INFINITY;
  for (std::size_t i = 0; i < count; ++i) {
    const float d = depth.depths[i];
    if (!std::isfinite(d) || d == 1.0f) continue;
    near = std::min(near, d);
    far = std::max(far, d);
  }
  Bytes rgb(count * 3, 0);
  for (std::size_t i = 0; i < count; ++i) {
    const float d = depth.depths[i];
    if (!(d <= far)) continue;  // behind everything, or no number: black
    const float span = far > near ? far - near : 1.0f;
    const float place = std::clamp((d - near) / span, 0.0f, 1.0f);
    const auto grey = static_cast<std::uint8_t>(255.0f - 215.0f * place);
    for (int c = 0; c < 3; ++c) rgb[i * 3 + static_cast<std::size_t>(c)] = grey;
  }
  return EncodePng(rgb.data(), depth.width, depth.height, 3);
}

StoredPicture Shrunk(const PictureView& picture, std::int32_t width) {
  if (picture.width <= width) return StorePicture(picture);
  StoredPicture small;
  small.width = width;
  small.height =
      std::max(1, static_cast<std::int32_t>(static_cast<std::int64_t>(picture.height) * width / picture.width));
  small.pixels.resize(static_cast<std::size_t>(small.width) * static_cast<std::size_t>(small.height));
  const auto edge = [](std::int32_t i, std::int32_t from, std::int32_t to) {
    return static_cast<std::int32_t>(static_cast<std::int64_t>(i) * from / to);
  };
  for (std::int32_t y = 0; y < small.height; ++y) {
    const std::int32_t y0 = edge(y, picture.height, small.height);
    const std::int32_t y1 = std::max(y0 + 1, edge(y + 1, picture.height, small.height));
    for (std::int32_t x = 0; x < small.width; ++x) {
      const std::int32_t x0 = edge(x, picture.width, small.width);
      const std::int32_t x1 = std::max(x0 + 1, edge(x + 1, picture.width, small.width));
      std::uint32_t sums[3] = {};
      for (std::int32_t v = y0; v < y1; ++v)
        for (std::int32_t u = x0; u < x1; ++u)
          for (int c = 0; c < 3; ++c) sums[c] += ChannelOf(picture.Row(v)[u], 8 * c);
      const auto count = static_cast<std::uint32_t>((x1 - x0) * (y1 - y0));
      small.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(small.width) + static_cast<std::size_t>(x)] =
          0xFF000000u | sums[2] / count << 16 | sums[1] / count << 8 | sums[0] / count;
    }
  }
  return small;
}

int PixelDifference(std::uint32_t a, std::uint32_t b) noexcept {
  int greatest = 0;
  for (int shift = 0; shift < 32; shift += 8)
    greatest =
        std::max(greatest, std::abs(static_cast<int>(ChannelOf(a, shift)) - static_cast<int>(ChannelOf(b, shift))));
  return greatest;
}

Comparison Compare(const PictureView& a, const PictureView& b, int tolerance, const std::vector<std::uint8_t>* known) {
  Comparison result;
  if (a.width != b.width || a.height != b.height) {
    result.sameSize = false;
    result.pixels = result.differing =
        std::max(static_cast<std::uint64_t>(a.width) * static_cast<std::uint64_t>(a.height),
                 static_cast<std::uint64_t>(b.width) * static_cast<std::uint64_t>(b.height));
    result.worst = 255;
    return result;
  }
  for (std::int32_t y = 0; y < a.height; ++y) {
    for (std::int32_t x = 0; x < a.width; ++x) {
      ++result.pixels;
      const std::size_t index =
          static_cast<std::size_t>(y) * static_cast<std::size_t>(a.width) + static_cast<std::size_t>(x);
      if (!Judged(known, index)) {
        ++result.unjudged;
        continue;
      }
      const int difference = PixelDifference(a.Row(y)[x], b.Row(y)[x]);
      ++result.histogram[difference];
      if (difference > tolerance) ++result.differing;
      if (difference > result.worst) {
        result.worst = difference;
        result.worstX = x;
        result.worstY = y;
        result.worstA = a.Row(y)[x];
        result.worstB = b.Row(y)[x];
      }
    }
  }
  return result;
}

StoredPicture DifferencePicture(const PictureView& a, const PictureView& b, int tolerance,
                                const std::vector<std::uint8_t>* known) {
  StoredPicture picture;
  picture.width = std::min(a.width, b.width);
  picture.height = std::min(a.height, b.height);
  for (std::int32_t y = 0; y < picture.height; ++y) {
    for (std::int32_t x = 0; x < picture.width; ++x) {
      const std::size_t index =
          static_cast<std::size_t>(y) * static_cast<std::size_t>(a.width) + static_cast<std::size_t>(x);
      const int difference = PixelDifference(a.Row(y)[x], b.Row(y)[x]);
      picture.pixels.push_back(!Judged(known, index)    ? kUnjudgedColor
                               : difference > tolerance ? HeatOf(difference)
                                                        : DimGrey(a.Row(y)[x]));
    }
  }
  return picture;
}

}  // namespace tlr2::tool
