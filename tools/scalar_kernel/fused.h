// A product and a sum rounded once, in portable arithmetic: the C library's own is wrong in some places and slow in
// most.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

namespace tlr2::judge {

/// product + c, rounded to single precision once. `product` is exact: two 24-bit factors need 48 of a double's 53 bits.
/// The sum is rounded to odd first, so that the narrowing sees on which side of a tie the exact value lies.
inline float AddRoundedOnce(double product, double c) {
  double sum = product + c;
  if (std::isfinite(sum)) {
    const double part = sum - product;
    const double error = (product - (sum - part)) + (c - part);
    if (error != 0.0) {
      std::uint64_t bits = std::bit_cast<std::uint64_t>(sum);
      if ((bits & 1u) == 0) {
        const bool away = (error > 0.0) == (sum > 0.0);
        bits += away ? 1 : ~std::uint64_t{0};
      }
      sum = std::bit_cast<double>(bits);
    }
  }
  return static_cast<float>(sum);
}

/// a * b + c.
inline float FusedMultiplyAdd(float a, float b, float c) {
  return AddRoundedOnce(static_cast<double>(a) * static_cast<double>(b), static_cast<double>(c));
}

/// a * b - c.
inline float FusedMultiplySubtract(float a, float b, float c) {
  return AddRoundedOnce(static_cast<double>(a) * static_cast<double>(b), -static_cast<double>(c));
}

}  // namespace tlr2::judge
