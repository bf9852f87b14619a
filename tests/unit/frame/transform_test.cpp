// Transform and clipping: vertex arithmetic, bit for bit.
#include "frame/transform.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "frame_fixture.h"
#include "random_packets.h"
#include "scalar_emission.h"

using namespace tlr2;
using namespace frame_test;

namespace {

ClipVertex At(float x, float y, float z, float w, std::uint32_t color = 0, float s = 0, float t = 0) {
  return {x, y, z, w, color, s, t};
}

}  // namespace

TEST(Transform, AddsTheYProductFirst) {
  // Rounding tells the orders apart: 2^24 + 1 is lost, -2^24 + 2^24 is not.
  float m[16] = {};
  m[0] = 16777216.0f;
  m[4] = 1.0f;
  m[8] = -16777216.0f;
  const float position[3] = {1, 1, 1};
  float out[4];
  TransformPoint(m, position, out);
  EXPECT_EQ(out[0], 0.0f);  // (1 + 2^24) rounds to 2^24
  m[0] = -16777216.0f;
  m[4] = 16777216.0f;
  m[8] = 1.0f;
  TransformPoint(m, position, out);
  EXPECT_EQ(out[0], 1.0f);
}

TEST(Transform, EqualsTheScalarFormOnRandomInput) {
  RandomFrame random(1);
  for (int i = 0; i < 100000; ++i) {
    float m[16], p[3], got[4], want[4];
    for (float& v : m) v = random.Uniform(-10, 10);
    for (float& v : p) v = random.Uniform(-100, 100);
    TransformPoint(m, p, got);
    ScalarTransform(m, p[0], p[1], p[2], want);
    ASSERT_EQ(std::memcmp(got, want, sizeof got), 0) << i;
  }
}

TEST(Clip, DistancesOfTheSixPlanes) {
  const ClipVertex v = At(1, 2, 3, 10);
  const float want[] = {11, 9, 12, 8, 13, 7};
  for (std::uint8_t k = 0; k < 6; ++k) EXPECT_EQ(ClipDistance(v, k), want[k]);
  EXPECT_EQ(ClipDistance(v, 6), 0.0f);
  EXPECT_EQ(ClipDistance(v, 255), 0.0f);
}

TEST(Clip, ATriangleWhollyInsideComesBackUnchanged) {
  const ClipVertex in[3] = {At(0, 0, 0, 1, 1, 2, 3), At(0.5f, 0, 0, 1, 4, 5, 6), At(0, 0.5f, -0.0f, 1, 7, 8, 9)};
  ClipVertex out[kClipOutputLimit];
  ASSERT_EQ(ClipTriangle(in, out), 3);
  EXPECT_EQ(std::memcmp(in, out, sizeof in), 0);
}

TEST(Clip, AVertexOnAPlaneIsInside) {
  // All three on planes: left, right and top.
  const ClipVertex in[3] = {At(-1, 0, 0, 1, 1), At(1, 0, 0, 1, 2), At(0, 1, 0, 1, 3)};
  ClipVertex out[kClipOutputLimit];
  ASSERT_EQ(ClipTriangle(in, out), 3);
  EXPECT_EQ(std::memcmp(in, out, sizeof in), 0);
}

TEST(Clip, ANanIsOutside) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const ClipVertex in[3] = {At(nan, 0, 0, 1), At(nan, 0, 0, 1), At(nan, 0.5f, 0, 1)};
  ClipVertex out[kClipOutputLimit];
  EXPECT_EQ(ClipTriangle(in, out), 0);
}

TEST(Clip, OutsideOnePlaneLeavesNothing) {
  const ClipVertex in[3] = {At(2, 0, 0, 1), At(3, 0, 0, 1), At(2, 0.5f, 0, 1)};
  ClipVertex out[kClipOutputLimit];
  EXPECT_EQ(ClipTriangle(in, out), 0);
}

TEST(Clip, NegativeWIsClippedAway) {
  RandomFrame random(2);
  for (int i = 0; i < 1000; ++i) {
    ClipVertex in[3];
    for (ClipVertex& v : in) v = At(random.Uniform(-2, 2), random.Uniform(-2, 2), 0, random.Uniform(-2, -0.1f));
    ClipVertex out[kClipOutputLimit];
    ASSERT_EQ(ClipTriangle(in, out), 0);
  }
}

TEST(Clip, ColourHalfwayRoundsUp) {
  // The edge from x = 0 to x = 2 crosses the right plane halfway.
  const ClipVertex in[3] = {At(0, 0, 0, 1, 0xFF000000u), At(2, 0, 0, 1, 0xFFFFFFFFu), At(0, 0.5f, 0, 1, 0xFF000000u)};
  ClipVertex out[kClipOutputLimit];
  ASSERT_EQ(ClipTriangle(in, out), 4);
  EXPECT_EQ(out[1].x, 1.0f);
  EXPECT_EQ(out[1].color, 0xFF808080u);
  EXPECT_EQ(out[2].color, 0xFF808080u);
}

TEST(Clip, EachColourByteStaysInItsPlace) {
  const ClipVertex in[3] = {At(0, 0, 0, 1, 0x10203040u), At(2, 0, 0, 1, 0x90A0B0C0u), At(0, 0.5f, 0, 1, 0x10203040u)};
  ClipVertex out[kClipOutputLimit];
  ASSERT_EQ(ClipTriangle(in, out), 4);
  EXPECT_EQ(out[1].color, 0x50607080u);
}

TEST(Clip, TextureCoordinatesAreInterpolatedInClipSpace) {
  const ClipVertex in[3] = {At(0, 0, 0, 1, 0, 0, 8), At(4, 0, 0, 3, 0, 1, 0), At(0, 0.5f, 0, 1, 0, 0, 8)};
  ClipVertex out[kClipOutputLimit];
  ASSERT_EQ(ClipTriangle(in, out), 4);
  // Distances 1 and -1: halfway, without a division by w.
  EXPECT_EQ(out[1].s, 0.5f);
  EXPECT_EQ(out[1].t, 4.0f);
  EXPECT_EQ(out[1].w, 2.0f);
}

TEST(Clip, EqualsTheScalarFormOnRandomInput) {
  RandomFrame random(3);
  int clipped = 0, most = 0;
  for (int i = 0; i < 200000; ++i) {
    const float reach = i % 3 == 0 ? 1.2f : 3.0f;
    std::vector<ClipVertex> in;
    for (int k = 0; k < 3; ++k) {
      in.push_back(At(random.Uniform(-reach, reach), random.Uniform(-reach, reach), random.Uniform(-reach, reach),
                      random.Uniform(-0.5f, 2.0f), random.Word(), random.Uniform(-4, 4), random.Uniform(-4, 4)));
    }
    ClipVertex out[kClipOutputLimit];
    const int count = ClipTriangle(in.data(), out);
    const std::vector<ClipVertex> want = ScalarClip(in);
    ASSERT_EQ(static_cast<std::size_t>(count), want.size());
    const std::size_t bytes = want.size() * sizeof(ClipVertex);
    ASSERT_TRUE(bytes == 0 || std::memcmp(out, want.data(), bytes) == 0) << i;
    clipped += count > 3 ? 1 : 0;
    most = count > most ? count : most;
  }
  EXPECT_GT(clipped, 10000);
  EXPECT_GE(most, 7);
  EXPECT_LE(most, 9);
}

TEST(Clip, AnyBitPatternKeepsWithinTheLimit) {
  RandomFrame random(4);
  for (int i = 0; i < 200000; ++i) {
    ClipVertex in[3];
    for (ClipVertex& v : in) {
      v = At(random.Wild(), random.Wild(), random.Wild(), random.Wild(), random.Word(), random.Wild(), random.Wild());
    }
    ClipVertex out[kClipOutputLimit];
    const int count = ClipTriangle(in, out);
    ASSERT_TRUE(count == 0 || (count >= 3 && count <= kClipOutputLimit));
  }
}
