// What a machine allows the kernels' steps, each alone and stripped of all choices: loops compiled for one target each.
#pragma once

#include <cstdint>

namespace tlr2::bench {

constexpr int kLimitWidth = 1280, kLimitHeight = 720;
constexpr int kLimitTexture = 256;  // columns and rows

/// A triangle that covers the whole frame, with what is worked out once of it.
struct LimitTriangle {
  float x[3], y[3], dx[3], dy[3];
  float bias, inverseArea;
  float z[3];
};
LimitTriangle MakeLimitTriangle();

struct LimitFrame {
  std::uint32_t* color;
  float* depth;
};

/// One frame each.
struct LimitLoops {
  const char* target;
  /// Exact coverage, depth LEQUAL and a solid store, 8 by 8 pixels at a time: rows loaded and stored as they lie.
  void (*solidByRows)(const LimitTriangle&, LimitFrame, std::uint32_t color);
  /// The same bytes with a gather and a scatter of the lanes' pixels; scalar stores where the target has no scatter.
  void (*solidByGathers)(const LimitTriangle&, LimitFrame, std::uint32_t color);
  /// Bilinear texels by the exact rules, repeated, packed and stored.
  void (*bilinearByGathers)(const std::uint32_t* texels, LimitFrame);
  void (*bilinearByLoads)(const std::uint32_t* texels, LimitFrame);  // a load a lane
  void (*bilinearByPairs)(const std::uint32_t* texels, LimitFrame);  // both columns of a row in one load of 8 bytes
  /// Floors of `count` floats, a multiple of 16.
  void (*floors)(const float* from, float* to, int count);
};
LimitLoops Avx2Limits();
LimitLoops Avx512Limits();

}  // namespace tlr2::bench
