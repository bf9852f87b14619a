// Colour packing, conversions, hash and counters.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string_view>
#include <vector>

#include "base/atomic64.h"
#include "base/color.h"
#include "base/convert.h"
#include "base/hash.h"

namespace tlr2 {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(Color, HalfGreyRoundsUp) { EXPECT_EQ(PackColor(0.5f, 0.5f, 0.5f, 1), 0xFF808080u); }

TEST(Color, OutOfRangeChannelsClamp) {
  EXPECT_EQ(PackColor(2, -1, 0, 1), 0xFFFF0000u);
  EXPECT_EQ(PackColor(kInfinity, -kInfinity, -0.0f, 1), 0xFFFF0000u);
}

TEST(Color, WhiteIsAllOnes) { EXPECT_EQ(PackColor(1, 1, 1, 1), 0xFFFFFFFFu); }

TEST(Color, ChannelsStandAlphaRedGreenBlue) {
  EXPECT_EQ(PackBytes(0x11, 0x22, 0x33, 0x44), 0x44112233u);
  EXPECT_EQ(PackColor(0x11 / 255.0f, 0x22 / 255.0f, 0x33 / 255.0f, 0x44 / 255.0f), 0x44112233u);
}

TEST(Color, NotANumberIsNothingButInBlueWhereItReachesAlpha) {
  EXPECT_EQ(PackColor(kNan, 0.5f, 0, 1), 0xFF008000u);
  EXPECT_EQ(PackColor(1, kNan, 0, 1), 0xFFFF0000u);
  EXPECT_EQ(PackColor(1, 0, 0, kNan), 0x00FF0000u);
  EXPECT_EQ(PackColor(0, 0, kNan, 0), 0x80000000u);
  EXPECT_EQ(PackColor(1, 0, -kNan, 1), 0xFFFF0000u);
  EXPECT_EQ(PackColor(kNan, kNan, kNan, kNan), 0x80000000u);
}

TEST(Color, NotANumberIsAByteOfZero) { EXPECT_EQ(ChannelByte(kNan), 0u); }

TEST(Color, EveryFractionRoundsToNearest) {
  for (int i = 0; i <= 1 << 16; ++i) {
    const float value = static_cast<float>(i) / 65536.0f;
    volatile float product = value * 255.0f;
    volatile float shifted = product + 0.5f;
    const auto wanted = value <= 0 ? 0u : value >= 1 ? 255u : static_cast<std::uint32_t>(std::trunc(shifted));
    ASSERT_EQ(ChannelByte(value), wanted) << value;
  }
}

TEST(Convert, WhatDoesNotFitIsTheProcessorsAnswer) {
  for (float value : {kNan, kInfinity, -kInfinity, 2147483648.0f, -2147483904.0f, 3e38f}) {
    EXPECT_EQ(TruncateToInt(value), kIntegerIndefinite) << value;
    EXPECT_EQ(FloorToInt(value), kIntegerIndefinite) << value;
    EXPECT_EQ(CeilToInt(value), kIntegerIndefinite) << value;
  }
  EXPECT_EQ(TruncateToInt(2147483520.0f), 2147483520);
  EXPECT_EQ(FloorToInt(-2147483648.0f), kIntegerIndefinite);
}

TEST(Convert, FloorAndCeilingAgreeWithTheLibrary) {
  std::mt19937 random(7);
  for (int i = 0; i < 200000; ++i) {
    const float value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
    if (!(std::fabs(value) < 2147483520.0f)) continue;
    ASSERT_EQ(FloorToInt(value), static_cast<std::int32_t>(std::floor(value))) << value;
    ASSERT_EQ(CeilToInt(value), static_cast<std::int32_t>(std::ceil(value))) << value;
    ASSERT_EQ(TruncateToInt(value), static_cast<std::int32_t>(std::trunc(value))) << value;
  }
}

std::uint32_t HashOf(std::string_view text) { return Fnv1a(text.data(), text.size()); }

TEST(Hash, KnownAnswers) {
  EXPECT_EQ(HashOf(""), 0x811C9DC5u);
  EXPECT_EQ(HashOf("a"), 0xE40C292Cu);
  EXPECT_EQ(HashOf("b"), 0xE70C2DE5u);
  EXPECT_EQ(HashOf("foobar"), 0xBF9CF968u);
}

// The definition, a byte at a time.
std::uint32_t PlainHash(const std::uint8_t* bytes, std::size_t size) {
  std::uint64_t hash = 0x811C9DC5u;
  for (std::size_t i = 0; i < size; ++i) hash = ((hash ^ bytes[i]) * 0x01000193u) & 0xFFFFFFFFu;
  return static_cast<std::uint32_t>(hash);
}

TEST(Hash, EqualsThePlainFormForEveryShortLengthAndPlace) {
  std::mt19937 random(8);
  std::vector<std::uint8_t> bytes(1200);
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
  for (std::size_t size = 0; size < 1100; ++size) {
    const std::size_t at = size % 19;
    ASSERT_EQ(Fnv1a(bytes.data() + at, size), PlainHash(bytes.data() + at, size)) << size;
  }
}

/// Both forms of the long hash, where the processor has them.
std::vector<std::uint32_t (*)(const std::uint8_t*, std::size_t) noexcept> LongForms() {
  std::vector<std::uint32_t (*)(const std::uint8_t*, std::size_t) noexcept> forms = {Fnv1aLongPlain};
  if (__builtin_cpu_supports("avx2")) forms.push_back(Fnv1aLongAvx2);
  return forms;
}

TEST(Hash, BothLongFormsEqualThePlainOneAtAnySizeAndPlace) {
  std::mt19937 random(13);
  std::vector<std::uint8_t> bytes(70000);
  for (int run = 0; run < 200; ++run) {
    // From all bits alike to bytes that seldom differ: carries of every length.
    const unsigned mask = 0xFFu >> run % 8 << run % 3;
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random() >> 5 & (random() % 9 == 0 ? 0xFFu : mask));
    const std::size_t at = random() % 67, size = random() % (bytes.size() - at);
    const std::uint32_t plain = PlainHash(bytes.data() + at, size);
    for (const auto form : LongForms()) ASSERT_EQ(form(bytes.data() + at, size), plain) << size << " from " << at;
  }
}

TEST(Hash, EqualsThePlainFormOnLongRuns) {
  std::mt19937 random(9);
  for (std::size_t size : {4095u, 4096u, 4097u, 16384u, 65536u, 100003u, 1048576u, 1048575u}) {
    std::vector<std::uint8_t> bytes(size);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random() >> 7);
    EXPECT_EQ(Fnv1a(bytes.data(), size), PlainHash(bytes.data(), size)) << size;
    for (auto& byte : bytes) byte = 0;
    EXPECT_EQ(Fnv1a(bytes.data(), size), PlainHash(bytes.data(), size)) << size << " zeros";
    for (auto& byte : bytes) byte = 255;
    EXPECT_EQ(Fnv1a(bytes.data(), size), PlainHash(bytes.data(), size)) << size << " ones";
  }
}

TEST(Hash, EqualsThePlainFormAroundEveryGroupBoundary) {
  std::mt19937 random(10);
  std::vector<std::uint8_t> bytes(20000);
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random() >> 3);
  for (std::size_t size = kFnvLongBytes - 3; size < 19000; size += size % 1024 < 3 || size % 1024 > 1020 ? 1 : 37) {
    ASSERT_EQ(Fnv1a(bytes.data() + size % 17, size), PlainHash(bytes.data() + size % 17, size)) << size;
  }
}

TEST(Counter64, AddsOnAllSixtyFourBitsAndRaisesOnlyUpward) {
  Counter64 counter{0xFFFFFFFFu};
  CounterAdd(counter, 1);
  EXPECT_EQ(counter.load(), 0x100000000u);
  CounterRaise(counter, 5);
  EXPECT_EQ(counter.load(), 0x100000000u);
  CounterRaise(counter, 0x200000000u);
  EXPECT_EQ(counter.load(), 0x200000000u);
}

}  // namespace
}  // namespace tlr2
