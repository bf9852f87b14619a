// The driver's growing vector of plain records: keeps its capacity when emptied, grows by half, and starts large
// blocks at a line of the caches.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace tlr2 {

/// Blocks of this size or more start at a line of the caches, so that no record of two lines lies on three.
inline constexpr std::size_t kAlignedBlockBytes = 4096;
inline constexpr std::size_t kBlockAlignment = 64;

/// A contiguous run of trivially copyable `T`. `Limit` is the greatest element count; past it growth fails with the
/// length error "vector too long". The default keeps every block below 2 GiB.
template <typename T, std::size_t Limit = 0x7FFFFFFFu / sizeof(T)>
class GrowingVector {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  GrowingVector() noexcept = default;
  GrowingVector(const GrowingVector& other) { Assign(other.begin_, other.size()); }
  GrowingVector(GrowingVector&& other) noexcept { Swap(other); }
  GrowingVector& operator=(const GrowingVector& other) {
    if (this != &other) Assign(other.begin_, other.size());
    return *this;
  }
  GrowingVector& operator=(GrowingVector&& other) noexcept {
    GrowingVector taken(std::move(other));
    Swap(taken);
    return *this;
  }
  ~GrowingVector() { Release(begin_, capacity()); }

  T* data() noexcept { return begin_; }
  const T* data() const noexcept { return begin_; }
  T* begin() noexcept { return begin_; }
  T* end() noexcept { return end_; }
  const T* begin() const noexcept { return begin_; }
  const T* end() const noexcept { return end_; }
  T& operator[](std::size_t i) noexcept { return begin_[i]; }
  const T& operator[](std::size_t i) const noexcept { return begin_[i]; }
  T& back() noexcept { return end_[-1]; }
  std::size_t size() const noexcept { return static_cast<std::size_t>(end_ - begin_); }
  std::size_t capacity() const noexcept { return static_cast<std::size_t>(limit_ - begin_); }
  bool empty() const noexcept { return begin_ == end_; }
  /// Elements that fit before the next growth.
  std::size_t spare() const noexcept { return static_cast<std::size_t>(limit_ - end_); }

  /// Moves the end back to the start; the storage stays.
  void clear() noexcept { end_ = begin_; }
  /// Frees the storage.
  void reset() noexcept { GrowingVector().Swap(*this); }

  void push_back(const T& value) {
    if (end_ == limit_) [[unlikely]] {
      const T copy = value;  // `value` may live in the block that is about to move
      Reallocate(NextCapacity(size() + 1));
      *end_++ = copy;
      return;
    }
    *end_++ = value;
  }

  /// Capacity of exactly `count` elements or more; never shrinks.
  void reserve(std::size_t count) {
    if (count > capacity()) Reallocate(Checked(count));
  }

  /// New elements are zero bytes. Beyond the capacity, growth is to the larger of `count` and 1.5 times.
  void resize(std::size_t count) {
    const std::size_t old = size();
    if (count > old) {
      GrowUninitialized(count - old);
      std::memset(static_cast<void*>(begin_ + old), 0, (count - old) * sizeof(T));
    } else {
      end_ = begin_ + count;
    }
  }

  /// Extends by `count` elements that the caller fills; returns the first of them.
  T* GrowUninitialized(std::size_t count) {
    if (count > static_cast<std::size_t>(limit_ - end_)) [[unlikely]] {
      if (count > Limit - size()) throw std::length_error("vector too long");
      Reallocate(NextCapacity(size() + count));
    }
    T* first = end_;
    end_ += count;
    return first;
  }

  /// The same where `spare()` has seen that they fit.
  T* TakeSpare(std::size_t count) noexcept {
    T* first = end_;
    end_ += count;
    return first;
  }

  void append(const T* source, std::size_t count) {
    if (count == 0) return;
    std::memcpy(static_cast<void*>(GrowUninitialized(count)), source, count * sizeof(T));
  }

  void assign(std::size_t count, const T& value) {
    clear();
    T* first = GrowUninitialized(count);
    for (std::size_t i = 0; i < count; ++i) first[i] = value;
  }

  void Swap(GrowingVector& other) noexcept {
    std::swap(begin_, other.begin_);
    std::swap(end_, other.end_);
    std::swap(limit_, other.limit_);
  }

 private:
  static std::size_t Checked(std::size_t count) {
    if (count > Limit) throw std::length_error("vector too long");
    return count;
  }
  std::size_t NextCapacity(std::size_t need) const {
    Checked(need);
    const std::size_t old = capacity();
    const std::size_t grown = old > Limit - old / 2 ? Limit : old + old / 2;
    return need > grown ? need : grown;
  }
  static std::size_t BlockAlign(std::size_t bytes) noexcept {
    const std::size_t wanted = bytes >= kAlignedBlockBytes ? kBlockAlignment : __STDCPP_DEFAULT_NEW_ALIGNMENT__;
    return wanted > alignof(T) ? wanted : alignof(T);
  }
  static T* Allocate(std::size_t count) {
    const std::size_t bytes = count * sizeof(T);
    return static_cast<T*>(::operator new(bytes, std::align_val_t{BlockAlign(bytes)}));
  }
  static void Release(T* block, std::size_t count) noexcept {
    if (block != nullptr) ::operator delete(block, std::align_val_t{BlockAlign(count * sizeof(T))});
  }
  void Reallocate(std::size_t count) {
    const std::size_t used = size();
    T* block = Allocate(count);
    if (used != 0) std::memcpy(static_cast<void*>(block), begin_, used * sizeof(T));
    Release(begin_, capacity());
    begin_ = block;
    end_ = block + used;
    limit_ = block + count;
  }
  void Assign(const T* source, std::size_t count) {
    clear();
    append(source, count);
  }

  T* begin_ = nullptr;
  T* end_ = nullptr;
  T* limit_ = nullptr;
};

}  // namespace tlr2
