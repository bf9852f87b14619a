// Buffers of pixels on Windows, where large pages are for those alone who may lock memory.
#include "platform/buffer_memory.h"

#include <malloc.h>

namespace tlr2 {

void* AllocateBuffer(std::size_t bytes) noexcept {
  constexpr std::size_t kLine = 64;
  return _aligned_malloc(bytes, kLine);
}

void FreeBuffer(void* buffer) noexcept { _aligned_free(buffer); }

}  // namespace tlr2
