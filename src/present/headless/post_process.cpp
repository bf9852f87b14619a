// The colour adjustments, in single precision and in the shader's order: each step works on the result of the one
// before it.
#include "present/headless/post_process.h"

#include <cmath>
#include <cstring>

#include "base/color.h"

namespace tlr2 {
namespace {

struct Vector {
  float x, y, z;
};

float Dot(const Vector& a, const Vector& b) noexcept { return a.x * b.x + a.y * b.y + a.z * b.z; }

/// 0 for NaN, as the shader's clamp gives.
float Saturate(float v) noexcept { return v > 0.0f ? (v < 1.0f ? v : 1.0f) : 0.0f; }

bool Neutral(const PostProcessConstants& c) noexcept {
  return c.gamma == 1.0f && c.hueRadians == 0.0f && c.saturation == 1.0f && c.brightness == 1.0f &&
         c.videoRange == 0.0f;
}

/// What every pixel has in common.
struct Adjustment {
  float cosine, sine;
  float saturation, brightness, exponent, videoRange;
};

float AdjustChannel(const Adjustment& a, float luma, float value) noexcept {
  value = luma + a.saturation * (value - luma);
  value = Saturate(value * a.brightness);
  value = std::exp2(std::log2(value) * a.exponent);     // black has the logarithm minus infinity and stays black
  const float video = value * 0.8588235f + 0.0627451f;  // 219/255 and 16/255
  return Saturate(value + a.videoRange * (video - value));
}

std::uint32_t AdjustPixel(const Adjustment& a, std::uint32_t pixel) noexcept {
  const auto channel = [pixel](int shift) { return static_cast<float>(pixel >> shift & 0xFF) / 255.0f; };
  const Vector source = {channel(16), channel(8), channel(0)};
  const float luminance = Dot(source, {0.299f, 0.587f, 0.114f});
  const float i = Dot(source, {0.595716f, -0.274453f, -0.321263f});
  const float q = Dot(source, {0.211456f, -0.522591f, 0.311135f});
  const Vector yiq = {luminance, i * a.cosine - q * a.sine, i * a.sine + q * a.cosine};
  const Vector rgb = {Dot(yiq, {1.0f, 0.9563f, 0.621f}), Dot(yiq, {1.0f, -0.2721f, -0.6474f}),
                      Dot(yiq, {1.0f, -1.107f, 1.7046f})};
  const float luma = Dot(rgb, {0.2126f, 0.7152f, 0.0722f});
  return PackBytes(ChannelByte(AdjustChannel(a, luma, rgb.x)), ChannelByte(AdjustChannel(a, luma, rgb.y)),
                   ChannelByte(AdjustChannel(a, luma, rgb.z)), pixel >> 24);
}

}  // namespace

void PostProcessPixels(const PostProcessConstants& constants, const std::uint32_t* source, std::uint32_t* out,
                       std::size_t count) noexcept {
  if (Neutral(constants)) {
    std::memcpy(out, source, count * sizeof *out);
    return;
  }
  const Adjustment adjustment = {std::cos(constants.hueRadians),
                                 std::sin(constants.hueRadians),
                                 constants.saturation,
                                 constants.brightness,
                                 constants.gamma > 0.01f ? constants.gamma : 0.01f,
                                 constants.videoRange};
  for (std::size_t i = 0; i < count; ++i) out[i] = AdjustPixel(adjustment, source[i]);
}

}  // namespace tlr2
