// Memory for buffers of pixels.
#pragma once

#include <cstddef>

namespace tlr2 {

/// Whether large buffers may lie on large pages. On Windows those are for programs alone that may lock memory.
#ifdef _WIN32
inline constexpr bool kBuffersOnLargePages = false;
#else
inline constexpr bool kBuffersOnLargePages = true;
#endif

/// `bytes` of memory, what it holds being left open; null where there is none. It starts at a line of the caches, and
/// where the system has large pages it lies on them: rows of tiles lie pages apart, and a frame would otherwise walk
/// through more small ones than the processor remembers the places of.
void* AllocateBuffer(std::size_t bytes) noexcept;
void FreeBuffer(void* buffer) noexcept;

}  // namespace tlr2
