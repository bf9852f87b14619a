// Buffers of pixels on Linux: from a large page's size on, the kernel is asked for such pages.
#include "platform/buffer_memory.h"

#include <sys/mman.h>

#include <cstdlib>

namespace tlr2 {

void* AllocateBuffer(std::size_t bytes) noexcept {
  constexpr std::size_t kLine = 64, kLargePage = std::size_t{2} << 20;
  const bool large = bytes >= kLargePage;
  void* buffer = nullptr;
  if (posix_memalign(&buffer, large ? kLargePage : kLine, bytes) != 0) return nullptr;
  if (large) madvise(buffer, bytes, MADV_HUGEPAGE);  // a wish: without them everything works the same
  return buffer;
}

void FreeBuffer(void* buffer) noexcept { std::free(buffer); }

}  // namespace tlr2
