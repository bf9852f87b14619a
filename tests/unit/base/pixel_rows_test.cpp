// Pixel rows against their definition, byte by byte.
#include "base/pixel_rows.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace tlr2 {
namespace {

constexpr std::uint8_t kGuard = 0x5A;

/// Runs `row` over every short length, at odd addresses, and compares with the source bytes that `order` names.
template <typename Row>
void ExpectOrder(Row row, const std::vector<int>& order) {
  std::mt19937 random(3);
  for (std::size_t count = 0; count < 75; ++count) {
    std::vector<std::uint8_t> source(count * 4 + 1), out(count * order.size() + 3, kGuard);
    for (auto& byte : source) byte = static_cast<std::uint8_t>(random());
    row(source.data() + 1, out.data() + 1, count);
    EXPECT_EQ(out[0], kGuard);
    for (std::size_t i = 0; i < count; ++i)
      for (std::size_t k = 0; k < order.size(); ++k)
        ASSERT_EQ(out[1 + i * order.size() + k], source[1 + i * 4 + static_cast<std::size_t>(order[k])])
            << count << " pixels, pixel " << i << " byte " << k;
    EXPECT_EQ(out[1 + count * order.size()], kGuard);
  }
}

TEST(PixelRows, RedAndBlueChangePlaces) { ExpectOrder(SwapRedBlueRow, {2, 1, 0, 3}); }

TEST(PixelRows, RedAndBlueChangePlacesWithoutMovingBytesWithinVectorsToo) {
  const auto row = [](const std::uint8_t* source, std::uint8_t* out, std::size_t count) {
    const std::size_t done = SwapRedBlueByShifts(source, out, count);
    EXPECT_EQ(done, count / 4 * 4);
    SwapRedBlueRow(source + done * 4, out + done * 4, count - done);
  };
  ExpectOrder(row, {2, 1, 0, 3});
}

TEST(PixelRows, ThreeBytesWithBlueFirst) { ExpectOrder(PackTriplesRow<false>, {0, 1, 2}); }

TEST(PixelRows, ThreeBytesWithRedFirst) { ExpectOrder(PackTriplesRow<true>, {2, 1, 0}); }

}  // namespace
}  // namespace tlr2
