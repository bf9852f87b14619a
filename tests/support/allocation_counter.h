// Counts the program's allocations: replaces the global operator new. Include in one file of a test program.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace tlr2::test {
inline std::atomic<std::uint64_t> allocations{0};

// Neither may be inlined: of a block from operator new, a compiler knows that nothing lies before it.
[[gnu::noinline]] inline void* CountedBlock(std::size_t size, std::size_t alignment) {
  allocations.fetch_add(1, std::memory_order_relaxed);
  // The block's own start stands in the word before it, so that every alignment works on every system.
  const std::size_t room = alignment > sizeof(void*) ? alignment : sizeof(void*);
  void* block = std::malloc(size + room + sizeof(void*));
  if (block == nullptr) throw std::bad_alloc();
  const auto start = reinterpret_cast<std::uintptr_t>(block) + sizeof(void*);
  auto* place = reinterpret_cast<void**>((start + room - 1) / room * room);
  place[-1] = block;
  return place;
}
[[gnu::noinline]] inline void FreeCountedBlock(void* place) noexcept {
  if (place != nullptr) std::free(static_cast<void**>(place)[-1]);
}
}  // namespace tlr2::test

void* operator new(std::size_t size) { return tlr2::test::CountedBlock(size, __STDCPP_DEFAULT_NEW_ALIGNMENT__); }
void* operator new[](std::size_t size) { return tlr2::test::CountedBlock(size, __STDCPP_DEFAULT_NEW_ALIGNMENT__); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return tlr2::test::CountedBlock(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return tlr2::test::CountedBlock(size, static_cast<std::size_t>(alignment));
}
// Also those that give null instead of throwing: a sanitizer's own would hand out blocks that are not of this kind.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return tlr2::test::CountedBlock(size, __STDCPP_DEFAULT_NEW_ALIGNMENT__);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return tlr2::test::CountedBlock(size, __STDCPP_DEFAULT_NEW_ALIGNMENT__);
}
void operator delete(void* place) noexcept { tlr2::test::FreeCountedBlock(place); }
void operator delete[](void* place) noexcept { tlr2::test::FreeCountedBlock(place); }
void operator delete(void* place, std::size_t) noexcept { tlr2::test::FreeCountedBlock(place); }
void operator delete[](void* place, std::size_t) noexcept { tlr2::test::FreeCountedBlock(place); }
void operator delete(void* place, std::align_val_t) noexcept { tlr2::test::FreeCountedBlock(place); }
void operator delete[](void* place, std::align_val_t) noexcept { tlr2::test::FreeCountedBlock(place); }
void operator delete(void* place, std::size_t, std::align_val_t) noexcept { tlr2::test::FreeCountedBlock(place); }
void operator delete[](void* place, std::size_t, std::align_val_t) noexcept { tlr2::test::FreeCountedBlock(place); }
