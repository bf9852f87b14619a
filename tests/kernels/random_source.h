// A small generator of random numbers whose sequence is the same on every system.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace tlr2::judge {

class RandomSource {
 public:
  explicit RandomSource(std::uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15u + 0xD1B54A32D192ED03u) {}

  std::uint32_t Word() {
    state_ += 0x9E3779B97F4A7C15u;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return static_cast<std::uint32_t>((z ^ (z >> 31)) >> 16);
  }

  /// 0 to count - 1.
  std::uint32_t Below(std::uint32_t count) {
    return static_cast<std::uint32_t>((static_cast<std::uint64_t>(Word()) * count) >> 32);
  }

  std::int32_t Between(std::int32_t low, std::int32_t high) {
    return low + static_cast<std::int32_t>(Below(static_cast<std::uint32_t>(high - low + 1)));
  }

  bool OneIn(std::uint32_t count) { return Below(count) == 0; }

  float Float(float low, float high) {
    return low + (high - low) * (static_cast<float>(Word() >> 8) * (1.0f / 16777216.0f));
  }

  template <typename T>
  T Pick(std::initializer_list<T> values) {
    return values.begin()[Below(static_cast<std::uint32_t>(values.size()))];
  }

 private:
  std::uint64_t state_;
};

/// `value` moved by a few units in the last place.
inline float Nudge(float value, std::int32_t units) {
  return std::bit_cast<float>(std::bit_cast<std::int32_t>(value) + units);
}

}  // namespace tlr2::judge
