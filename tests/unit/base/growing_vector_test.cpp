// The growing vector: growth, limits, alignment, zeroed elements.
#include "base/growing_vector.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace tlr2 {
namespace {

TEST(GrowingVector, GrowsToTheNeedOrByHalf) {
  GrowingVector<std::uint32_t> vector;
  vector.resize(100);
  EXPECT_EQ(vector.capacity(), 100u);
  vector.push_back(1);
  EXPECT_EQ(vector.capacity(), 150u);
  vector.resize(400);
  EXPECT_EQ(vector.capacity(), 400u);
}

TEST(GrowingVector, KeepsItsBlockWhenEmptied) {
  GrowingVector<std::uint32_t> vector;
  vector.resize(5000);
  const std::uint32_t* block = vector.data();
  vector.clear();
  EXPECT_TRUE(vector.empty());
  EXPECT_EQ(vector.capacity(), 5000u);
  vector.resize(5000);
  EXPECT_EQ(vector.data(), block);
}

TEST(GrowingVector, NewElementsAreZeroAlsoInUsedStorage) {
  GrowingVector<std::uint32_t> vector;
  vector.assign(64, 0xFFFFFFFFu);
  vector.clear();
  vector.resize(64);
  for (std::uint32_t value : vector) EXPECT_EQ(value, 0u);
}

TEST(GrowingVector, LargeBlocksStartOnThirtyTwoBytes) {
  for (std::size_t bytes : {4096u, 4097u, 100000u}) {
    GrowingVector<std::uint8_t> vector;
    vector.resize(bytes);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(vector.data()) % 32, 0u);
  }
}

TEST(GrowingVector, PastItsLimitFailsWithTheLengthError) {
  GrowingVector<std::uint8_t, 10> vector;
  vector.resize(10);
  try {
    vector.push_back(1);
    FAIL() << "grew past its limit";
  } catch (const std::length_error& error) {
    EXPECT_STREQ(error.what(), "vector too long");
  }
  EXPECT_EQ(vector.size(), 10u);
  EXPECT_THROW(vector.reserve(11), std::length_error);
  EXPECT_THROW(vector.GrowUninitialized(static_cast<std::size_t>(-1)), std::length_error);
}

TEST(GrowingVector, GrowthByHalfSaturatesAtTheLimit) {
  GrowingVector<std::uint8_t, 10> vector;
  vector.resize(8);
  vector.push_back(1);
  EXPECT_EQ(vector.capacity(), 10u);
}

TEST(GrowingVector, PushesAnElementOfItself) {
  GrowingVector<std::uint32_t> vector;
  vector.push_back(42);
  while (vector.size() < vector.capacity()) vector.push_back(1);
  vector.push_back(vector[0]);
  EXPECT_EQ(vector.back(), 42u);
}

TEST(GrowingVector, CopiesAreDeepAndMovesTakeTheBlock) {
  GrowingVector<std::uint32_t> first;
  first.assign(10, 3);
  GrowingVector<std::uint32_t> second = first;
  second[0] = 4;
  EXPECT_EQ(first[0], 3u);
  const std::uint32_t* block = second.data();
  GrowingVector<std::uint32_t> third = std::move(second);
  EXPECT_EQ(third.data(), block);
  third = first;
  EXPECT_EQ(third.data(), block) << "assignment uses the storage that is there";
  EXPECT_EQ(third[0], 3u);
}

}  // namespace
}  // namespace tlr2
