// Where emission puts its records: a fixed slice first, then a vector that grows.
#pragma once

#include <cstddef>
#include <cstring>

#include "records/driver_state.h"

namespace tlr2 {

/// Appends records without a growth check beyond one comparison. What does not fit the slice goes to the vector.
class TriangleSink {
 public:
  /// No slice: appends to `vector`, with room for `expected` records made at once.
  TriangleSink(TriangleVector& vector, std::size_t expected) : vector_(vector), inSlice_(false) {
    const std::size_t used = vector.size();
    vector.GrowUninitialized(expected);
    TakeCapacity(used);
  }
  /// Fills `slice` first; `overflow` is emptied.
  TriangleSink(TriangleRecord* slice, std::size_t room, TriangleVector& overflow) noexcept
      : vector_(overflow), slice_(slice), next_(slice), limit_(slice + room), inSlice_(true) {
    overflow.clear();
  }
  TriangleSink(const TriangleSink&) = delete;
  TriangleSink& operator=(const TriangleSink&) = delete;

  /// The next record, which the caller fills whole.
  TriangleRecord* Next() {
    if (next_ == limit_) [[unlikely]]
      Grow();
    return next_++;
  }
  void Append(const TriangleRecord* records, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) *Next() = records[i];
  }
  /// Ends the vector behind its last record; returns the records in the slice.
  std::size_t Finish() noexcept {
    if (inSlice_) return static_cast<std::size_t>(next_ - slice_);
    vector_.resize(static_cast<std::size_t>(next_ - vector_.data()));
    return sliceUsed_;
  }

 private:
  void Grow() {
    if (inSlice_) {
      sliceUsed_ = static_cast<std::size_t>(next_ - slice_);
      inSlice_ = false;
    }
    const std::size_t used = vector_.size();
    vector_.GrowUninitialized(1);  // by half
    TakeCapacity(used);
  }
  void TakeCapacity(std::size_t used) {
    vector_.GrowUninitialized(vector_.capacity() - vector_.size());
    next_ = vector_.data() + used;
    limit_ = vector_.end();
  }

  TriangleVector& vector_;
  TriangleRecord* slice_ = nullptr;
  TriangleRecord* next_ = nullptr;
  TriangleRecord* limit_ = nullptr;
  std::size_t sliceUsed_ = 0;
  bool inSlice_;
};

}  // namespace tlr2
