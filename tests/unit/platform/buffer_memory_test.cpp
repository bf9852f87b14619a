// Memory for buffers of pixels: where it starts, that all of it is there, and what is refused.
#include "platform/buffer_memory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "sanitizers.h"

namespace tlr2 {
namespace {

std::size_t PlaceIn(const void* buffer, std::size_t unit) { return reinterpret_cast<std::uintptr_t>(buffer) % unit; }

TEST(BufferMemory, StartsAtALineAndHoldsAllThatWasAskedFor) {
  for (const std::size_t bytes : {std::size_t{1}, std::size_t{63}, std::size_t{1000}, (std::size_t{2} << 20) - 1,
                                  std::size_t{2} << 20, (std::size_t{8} << 20) + 4}) {
    void* buffers[3];
    for (void*& buffer : buffers) {
      buffer = AllocateBuffer(bytes);
      ASSERT_NE(buffer, nullptr) << bytes;
      EXPECT_EQ(PlaceIn(buffer, 64), 0u) << bytes;
      std::memset(buffer, 0x5A, bytes);
    }
    for (void* buffer : buffers) {
      EXPECT_EQ(static_cast<unsigned char*>(buffer)[bytes - 1], 0x5A);
      FreeBuffer(buffer);
    }
  }
}

#ifdef __linux__
TEST(BufferMemory, OfALargePagesSizeStartsAtALargePage) {
  constexpr std::size_t kLargePage = std::size_t{2} << 20;
  for (const std::size_t bytes : {kLargePage, kLargePage + 1, 3 * kLargePage}) {
    void* buffer = AllocateBuffer(bytes);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(PlaceIn(buffer, kLargePage), 0u) << bytes;
    FreeBuffer(buffer);
  }
}
#endif

#if !TLR2_ADDRESS_SANITIZER && !TLR2_THREAD_SANITIZER  // they end the process where an allocator refuses
TEST(BufferMemory, IsNullWhereThereIsNone) {
  for (const std::size_t bytes : {SIZE_MAX / 2 + 1, SIZE_MAX - 4096}) {
    volatile std::size_t asked = bytes;  // compilers warn of a size that they can see
    EXPECT_EQ(AllocateBuffer(asked), nullptr) << bytes;
  }
}
#endif

TEST(BufferMemory, ThatIsNullCanBeFreed) { FreeBuffer(nullptr); }

}  // namespace
}  // namespace tlr2
