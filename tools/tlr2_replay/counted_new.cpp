// The program's allocation functions: the heap's bytes are counted, and the memory limit is kept here because the
// driver's vectors grow on threads of their own, where no exception could be caught.
#include <cstdlib>
#include <new>

#include "tlr2_replay/limits.h"

namespace {

/// Stands in front of each block, as far ahead as the block's alignment.
struct BlockHead {
  void* start;
  std::size_t bytes;
};

void* Allocate(std::size_t size, std::size_t alignment) {
  using namespace tlr2::tool::detail;
  if (alignment < sizeof(BlockHead)) alignment = sizeof(BlockHead);
  const std::size_t total = size + 2 * alignment;
  if (total < size) throw std::bad_alloc();
  if (heapBytes.fetch_add(total, std::memory_order_relaxed) + total > heapLimit.load(std::memory_order_relaxed)) {
    EndForMemory();
  }
  void* start = std::malloc(total);
  if (start == nullptr) {
    heapBytes.fetch_sub(total, std::memory_order_relaxed);
    throw std::bad_alloc();
  }
  const auto address = reinterpret_cast<std::uintptr_t>(start) + sizeof(BlockHead);
  const auto block = (address + alignment - 1) / alignment * alignment;
  reinterpret_cast<BlockHead*>(block)[-1] = {start, total};
  return reinterpret_cast<void*>(block);
}

void Release(void* block) noexcept {
  if (block == nullptr) return;
  const BlockHead head = static_cast<BlockHead*>(block)[-1];
  tlr2::tool::detail::heapBytes.fetch_sub(head.bytes, std::memory_order_relaxed);
  std::free(head.start);
}

}  // namespace

void* operator new(std::size_t size) { return Allocate(size, __STDCPP_DEFAULT_NEW_ALIGNMENT__); }
void* operator new[](std::size_t size) { return Allocate(size, __STDCPP_DEFAULT_NEW_ALIGNMENT__); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return Allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return Allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* block) noexcept { Release(block); }
void operator delete[](void* block) noexcept { Release(block); }
void operator delete(void* block, std::size_t) noexcept { Release(block); }
void operator delete[](void* block, std::size_t) noexcept { Release(block); }
void operator delete(void* block, std::align_val_t) noexcept { Release(block); }
void operator delete[](void* block, std::align_val_t) noexcept { Release(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { Release(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { Release(block); }
