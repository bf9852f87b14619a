// The loops, over whatever lanes were included before.
#pragma once

#include "limits.h"

namespace tlr2::bench {
namespace {

constexpr std::ptrdiff_t kStride = kLimitWidth * 4;

/// Edge `i` at the lanes' centres: the product with dy is rounded first, then the one with dx takes part.
LANE_FN Floats Edge(const LimitTriangle& t, int i, Floats x, Floats y) {
  const Floats product = Mul(Floats(Splat(t.dy[i])), Sub(x, Floats(Splat(t.x[i]))));
  return MulSub(Floats(Splat(t.dx[i])), Sub(y, Floats(Splat(t.y[i]))), product);
}

/// Where a plane of a tile passes, and its depth.
LANE_FN Mask Cover(const LimitTriangle& t, Floats x, Floats y, Floats stored, Floats& z) {
  const Floats e0 = Edge(t, 0, x, y), e1 = Edge(t, 1, x, y), e2 = Edge(t, 2, x, y);
  const Floats zero = Splat(0.0f), bias = Splat(t.bias), inverse = Splat(t.inverseArea);
  const Mask inside =
      And(And(LessEqual(zero, Add(e0, bias)), LessEqual(zero, Add(e1, bias))), LessEqual(zero, Add(e2, bias)));
  const Floats b0 = Mul(e1, inverse), b1 = Mul(e2, inverse), b2 = Mul(e0, inverse);
  z = MulAdd(b2, Floats(Splat(t.z[2])), MulAdd(b0, Floats(Splat(t.z[0])), Mul(b1, Floats(Splat(t.z[1])))));
  return And(inside, LessEqual(z, stored));
}

LANE_FN Floats Centres(Ints lanes, int first) {
  return Add(ToFloats(Add(Ints(Splat(first)), lanes)), Floats(Splat(0.5f)));
}

void SolidByRows(const LimitTriangle& triangle, LimitFrame frame, std::uint32_t color) {
  const Ints solid = Splat(static_cast<std::int32_t>(color));
  for (int y = 0; y < kLimitHeight; y += 8) {
    for (int x = 0; x < kLimitWidth; x += 8) {
      const std::ptrdiff_t first = y * kStride + x * std::ptrdiff_t{4};
      for (int dy = 0; dy < 2; ++dy) {
        char* const depth = reinterpret_cast<char*>(frame.depth) + first + dy * kStride;
        char* const pixels = reinterpret_cast<char*>(frame.color) + first + dy * kStride;
        Ints stored[2], shown[2];
        LoadPlaneRows(depth, kStride, stored[0], stored[1]);
        LoadPlaneRows(pixels, kStride, shown[0], shown[1]);
        for (int dx = 0; dx < 2; ++dx) {
          Floats z;
          const Mask pass =
              Cover(triangle, Centres(LaneColumns(), x + dx), Centres(LaneRows(), y + dy), FromBits(stored[dx]), z);
          stored[dx] = Select(pass, Bits(z), stored[dx]);
          shown[dx] = Select(pass, solid, shown[dx]);
        }
        StorePlaneRows(depth, kStride, stored[0], stored[1]);
        StorePlaneRows(pixels, kStride, shown[0], shown[1]);
      }
    }
  }
}

/// Words at offsets in words, all lanes.
LANE_FN Ints GatherParts(const void* base, const Ints& offsets) {
  Ints words;
  for (int part = 0; part < kParts; ++part) SetPart(words, part, Gather(base, PartOf(offsets, part)));
  return words;
}

void SolidByGathers(const LimitTriangle& triangle, LimitFrame frame, std::uint32_t color) {
  const Ints solid = Splat(static_cast<std::int32_t>(color));
  const Ints words = Add(Mul(LaneRows(), Ints(Splat(kLimitWidth))), LaneColumns());
  const Ints places = ShiftLeft<2>(words);
  for (int y = 0; y < kLimitHeight; y += 8) {
    for (int x = 0; x < kLimitWidth; x += 8) {
      for (int plane = 0; plane < 4; ++plane) {
        const int dx = plane & 1, dy = plane >> 1;
        const std::ptrdiff_t first = (y + dy) * kStride + (x + dx) * std::ptrdiff_t{4};
        char* const depth = reinterpret_cast<char*>(frame.depth) + first;
        Floats z;
        const Mask pass = Cover(triangle, Centres(LaneColumns(), x + dx), Centres(LaneRows(), y + dy),
                                FromBits(GatherParts(depth, words)), z);
        ScatterLive(depth, places, Bits(z), pass);
        ScatterLive(reinterpret_cast<char*>(frame.color) + first, places, solid, pass);
      }
    }
  }
}

enum class TexelLoads { kGathers, kLoads, kPairs };

/// A channel of the four texels, weighed: on the scale 0 to 255.
template <int Shift>
LANE_FN Floats BlendChannel(const Ints (&texel)[4], const Floats (&weight)[4]) {
  const auto unit = [](Ints word) __attribute__((always_inline)) {
    return Mul(ToFloats(And(ShiftRight<Shift>(word), Ints(Splat(0xFF)))), Floats(Splat(0x1.010102p-8f)));
  };
  Floats sum = Mul(unit(texel[1]), weight[1]);
  sum = MulAdd(unit(texel[0]), weight[0], sum);
  sum = MulAdd(unit(texel[3]), weight[3], sum);
  return Mul(MulAdd(unit(texel[2]), weight[2], sum), Floats(Splat(255.0f)));
}

template <TexelLoads kHow>
LANE_FN Ints Bilinear(const std::uint32_t* texels, Floats s, Floats t) {
  const Floats size = Splat(static_cast<float>(kLimitTexture)), half = Splat(0.5f), one = Splat(1.0f);
  const Floats fs = MulSub(s, size, half), ft = MulSub(t, size, half);
  const Floats column = Floor(fs), row = Floor(ft);
  const Ints last = Splat(kLimitTexture - 1), next = Splat(1);
  const Ints x0 = And(Truncate(column), last), y0 = And(Truncate(row), last);
  const Ints upper = Mul(y0, Ints(Splat(kLimitTexture)));
  const Ints lower = Mul(And(Add(y0, next), last), Ints(Splat(kLimitTexture)));
  Ints texel[4];  // upper left, upper right, lower left, lower right
  const Ints right = And(Add(x0, next), last);
  const Ints places[4] = {Add(upper, x0), Add(upper, right), Add(lower, x0), Add(lower, right)};
  for (int part = 0; part < kParts; ++part) {
    IntsPart at[4], word[4];
    for (int i = 0; i < 4; ++i) at[i] = PartOf(places[i], part);
    if constexpr (kHow == TexelLoads::kPairs) {  // the texture has a word behind it, and one column repeats: a limit
      GatherPairs(texels, at[0], word[0], word[1]);
      GatherPairs(texels, at[2], word[2], word[3]);
    } else {
      for (int i = 0; i < 4; ++i) {
        word[i] = kHow == TexelLoads::kGathers ? Gather(texels, at[i]) : GatherByLoads<4>(texels, at[i]);
      }
    }
    for (int i = 0; i < 4; ++i) SetPart(texel[i], part, word[i]);
  }
  const Floats wx = Sub(fs, column), wy = Sub(ft, row), vx = Sub(one, wx), vy = Sub(one, wy);
  const Floats weight[4] = {Mul(vx, vy), Mul(wx, vy), Mul(vx, wy), Mul(wx, wy)};
  return PackBytes(BlendChannel<16>(texel, weight), BlendChannel<8>(texel, weight), BlendChannel<0>(texel, weight),
                   BlendChannel<24>(texel, weight));
}

/// The texture stretched once over the frame, slightly sheared.
template <TexelLoads kHow>
void BilinearFrame(const std::uint32_t* texels, LimitFrame frame) {
  constexpr float kStepS = 1.0f / kLimitWidth, kStepT = 1.0f / kLimitHeight;
  for (int y = 0; y < kLimitHeight; y += 8) {
    for (int x = 0; x < kLimitWidth; x += 8) {
      for (int dy = 0; dy < 2; ++dy) {
        Ints color[2];
        for (int dx = 0; dx < 2; ++dx) {
          const Floats column = Centres(LaneColumns(), x + dx), line = Centres(LaneRows(), y + dy);
          const Floats t = Mul(line, Floats(Splat(kStepT)));
          color[dx] = Bilinear<kHow>(texels, MulAdd(column, Floats(Splat(kStepS)), Mul(t, Floats(Splat(0.1f)))), t);
        }
        StorePlaneRows(reinterpret_cast<char*>(frame.color) + (y + dy) * kStride + x * std::ptrdiff_t{4}, kStride,
                       color[0], color[1]);
      }
    }
  }
}

void Floors(const float* from, float* to, int count) {
  for (int i = 0; i < count; i += kLanes / kParts) {
    FloatsPart values;
    __builtin_memcpy(&values, from + i, sizeof values);
    values = Floor(values);
    __builtin_memcpy(to + i, &values, sizeof values);
  }
}

LimitLoops Loops(const char* target) {
  return {target,
          SolidByRows,
          SolidByGathers,
          BilinearFrame<TexelLoads::kGathers>,
          BilinearFrame<TexelLoads::kLoads>,
          BilinearFrame<TexelLoads::kPairs>,
          Floors};
}

}  // namespace
}  // namespace tlr2::bench
