// The matrix products and builders against forms written from the published definitions, element by element.
#include "base/matrix.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <random>

namespace tlr2 {
namespace {

struct Matrix {
  float m[16];
};

// Any bit pattern but NaN: a NaN's payload may come from either operand.
float WildFloat(std::mt19937& random) {
  for (;;) {
    const float value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
    if (value == value) return value;
  }
}

float TameFloat(std::mt19937& random) { return static_cast<float>(static_cast<std::int32_t>(random())) / 134217728.0f; }

// Row by column in the textbook's indices; each step is stored, so nothing is kept in wider registers.
Matrix TextbookProduct(const Matrix& a, const Matrix& b) {
  Matrix out;
  for (int column = 0; column < 4; ++column) {
    for (int row = 0; row < 4; ++row) {
      volatile float sum = 0.0f;
      for (int k = 0; k < 4; ++k) {
        volatile float product = b.m[column * 4 + k] * a.m[k * 4 + row];
        sum = sum + product;
      }
      out.m[column * 4 + row] = sum;
    }
  }
  return out;
}

void ExpectSameBits(const float* got, const float* wanted) {
  for (int i = 0; i < 16; ++i) {
    if (got[i] != got[i] && wanted[i] != wanted[i]) continue;
    EXPECT_EQ(std::bit_cast<std::uint32_t>(got[i]), std::bit_cast<std::uint32_t>(wanted[i])) << "element " << i;
  }
}

TEST(Matrix, ProductSumsFromTheLeftOnRandomMatrices) {
  std::mt19937 random(1);
  for (int round = 0; round < 20000; ++round) {
    Matrix a, b, out;
    for (int i = 0; i < 16; ++i) {
      a.m[i] = round % 2 == 0 ? TameFloat(random) : WildFloat(random);
      b.m[i] = round % 2 == 0 ? TameFloat(random) : WildFloat(random);
    }
    MultiplyMatrices(a.m, b.m, out.m);
    ExpectSameBits(out.m, TextbookProduct(a, b).m);
    if (HasFailure()) return;
  }
}

TEST(Matrix, ProductMayOverwriteEitherOperand) {
  std::mt19937 random(2);
  Matrix a, b;
  for (int i = 0; i < 16; ++i) {
    a.m[i] = TameFloat(random);
    b.m[i] = TameFloat(random);
  }
  const Matrix wanted = TextbookProduct(a, b);
  Matrix left = a, right = b;
  MultiplyMatrices(left.m, b.m, left.m);
  MultiplyMatrices(a.m, right.m, right.m);
  ExpectSameBits(left.m, wanted.m);
  ExpectSameBits(right.m, wanted.m);
}

TEST(Matrix, SumBeginsWithPlusZero) {
  Matrix a, b, out;
  for (int i = 0; i < 16; ++i) {
    a.m[i] = -0.0f;
    b.m[i] = 1.0f;
  }
  MultiplyMatrices(a.m, b.m, out.m);
  for (float value : out.m) EXPECT_EQ(std::bit_cast<std::uint32_t>(value), 0u);
}

TEST(Matrix, TranslationAndScaleStandAtTheirPlaces) {
  float m[16];
  TranslationMatrix(2, 3, 4, m);
  const float translation[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 2, 3, 4, 1};
  ExpectSameBits(m, translation);
  ScaleMatrix(2, 3, 4, m);
  const float scale[16] = {2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 0, 0, 0, 1};
  ExpectSameBits(m, scale);
}

// One rounding a line, in the order told by the definition.
Matrix StepwiseRotation(float angle, float x, float y, float z) {
  volatile float xx = x * x, yy = y * y, zz = z * z;
  volatile float sum = xx + yy;
  sum = sum + zz;
  volatile float scaled = angle * 3.1415927f;
  volatile float radians = scaled / 180.0f;
  volatile float c = static_cast<float>(std::cos(static_cast<double>(radians)));
  volatile float s = static_cast<float>(std::sin(static_cast<double>(radians)));
  volatile float length = static_cast<float>(std::sqrt(static_cast<double>(sum)));
  volatile float inverse = 1.0f / length;
  const volatile float n[3] = {inverse * x, inverse * y, inverse * z};
  volatile float k = 1.0f - c;
  const auto product = [&](int i, int j) {
    volatile float p = n[i] * n[j];
    p = p * k;
    return static_cast<float>(p);
  };
  const auto sine = [&](int i) {
    volatile float p = s * n[i];
    return static_cast<float>(p);
  };
  return {{product(0, 0) + c, product(0, 1) + sine(2), product(0, 2) - sine(1), 0,  //
           product(0, 1) - sine(2), product(1, 1) + c, product(1, 2) + sine(0), 0,  //
           product(0, 2) + sine(1), product(1, 2) - sine(0), product(2, 2) + c, 0,  //
           0, 0, 0, 1}};
}

TEST(Matrix, RotationFollowsItsStepsOnRandomAxes) {
  std::mt19937 random(3);
  for (int round = 0; round < 20000; ++round) {
    const float angle = TameFloat(random) * 30, x = TameFloat(random), y = TameFloat(random), z = TameFloat(random);
    float m[16];
    ASSERT_TRUE(RotationMatrix(angle, x, y, z, m));
    ExpectSameBits(m, StepwiseRotation(angle, x, y, z).m);
    if (HasFailure()) return;
  }
}

TEST(Matrix, QuarterTurnAboutZTakesXToY) {
  float m[16];
  ASSERT_TRUE(RotationMatrix(90, 0, 0, 5, m));
  EXPECT_NEAR(m[0], 0, 1e-6);
  EXPECT_FLOAT_EQ(m[1], 1);
  EXPECT_FLOAT_EQ(m[4], -1);
  EXPECT_FLOAT_EQ(m[10], 1);
}

TEST(Matrix, RotationByZeroOrAboutNoAxisIsNone) {
  float m[16] = {7};
  EXPECT_FALSE(RotationMatrix(0, 1, 0, 0, m));
  EXPECT_FALSE(RotationMatrix(-0.0f, 1, 0, 0, m));
  EXPECT_FALSE(RotationMatrix(45, 0, 0, 0, m));
  EXPECT_FALSE(RotationMatrix(45, 1e-30f, 0, 0, m)) << "the square underflows to 0";
  EXPECT_EQ(m[0], 7);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_TRUE(RotationMatrix(nan, 1, 0, 0, m)) << "NaN does not compare equal to 0";
}

TEST(Matrix, OrthoFollowsItsStepsOnRandomBoxes) {
  std::mt19937 random(4);
  for (int round = 0; round < 5000; ++round) {
    volatile float l = TameFloat(random), r = TameFloat(random), b = TameFloat(random), t = TameFloat(random),
                   n = TameFloat(random), f = TameFloat(random);
    volatile float w = r - l, h = t - b, d = f - n, cx = r + l, cy = t + b, cz = f + n;
    const float wanted[16] = {2 / w, 0, 0, 0, 0, 2 / h, 0, 0, 0, 0, -2 / d, 0, -cx / w, -cy / h, -cz / d, 1};
    float m[16];
    OrthoMatrix(l, r, b, t, n, f, m);
    ExpectSameBits(m, wanted);
  }
}

TEST(Matrix, FrustumFollowsItsStepsOnRandomBoxes) {
  std::mt19937 random(5);
  for (int round = 0; round < 5000; ++round) {
    volatile float l = TameFloat(random), r = TameFloat(random), b = TameFloat(random), t = TameFloat(random),
                   n = TameFloat(random), f = TameFloat(random);
    volatile float w = r - l, h = t - b, d = f - n, cx = r + l, cy = t + b, cz = f + n, nn = n + n, ff = f + f;
    volatile float product = ff * n;
    const float wanted[16] = {nn / w, 0, 0, 0, 0, nn / h, 0, 0, cx / w, cy / h, -cz / d, -1, 0, 0, -product / d, 0};
    float m[16];
    FrustumMatrix(l, r, b, t, n, f, m);
    ExpectSameBits(m, wanted);
  }
}

TEST(Matrix, ZeroDenominatorsGiveInfinities) {
  float m[16];
  OrthoMatrix(1, 1, 0, 1, 0, 1, m);
  EXPECT_EQ(m[0], std::numeric_limits<float>::infinity());
  EXPECT_EQ(m[12], -std::numeric_limits<float>::infinity());
  FrustumMatrix(0, 1, 0, 1, 2, 2, m);
  EXPECT_EQ(m[10], -std::numeric_limits<float>::infinity());
}

}  // namespace
}  // namespace tlr2
