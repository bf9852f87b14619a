// Filling memory with a word: all of it and nothing beside it, whatever the length.
#include "base/fill.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tlr2 {
namespace {

using FillFn = void (*)(void* first, std::uint32_t value, std::size_t count) noexcept;

class Fill : public testing::TestWithParam<FillFn> {};

TEST_P(Fill, StoresTheWordThroughoutAndNothingBeside) {
  constexpr std::uint32_t kGuard = 0x5A5A5A5Au, kValue = 0x12345678u;
  for (const std::size_t count : {0, 1, 3, 4, 7, 63, 1023, 1024, 1025, 2048, 2049, 3072, 5000, 100000}) {
    for (const std::size_t start : {1, 2, 900}) {
      std::vector<std::uint32_t> memory(start + count + 5, kGuard);
      GetParam()(memory.data() + start, kValue, count);
      for (std::size_t i = 0; i < memory.size(); ++i) {
        ASSERT_EQ(memory[i], i >= start && i < start + count ? kValue : kGuard) << i << " of " << count;
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Forms, Fill, testing::Values(FillWords, FillSmallPages, FillShortRow));

}  // namespace
}  // namespace tlr2
