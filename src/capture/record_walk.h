// Walking the records of a frame's stream without executing them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "api/state/command_stream.h"
#include "api/table/commands.h"

namespace tlr2 {

/// for (RecordWalk walk(bytes); walk.Next();) ...; afterwards Whole() tells whether the walk came to the end.
class RecordWalk {
 public:
  explicit RecordWalk(const ByteVector& bytes) noexcept : next_(bytes.data()), end_(next_ + bytes.size()) {}

  /// Goes to the next record; false at the end and where no whole record stands.
  bool Next() noexcept {
    const std::size_t left = static_cast<std::size_t>(end_ - next_);
    if (left < kCmdHeaderBytes) return false;
    header_ = ReadCmdHeader(next_);
    if (size() < kCmdHeaderBytes || size() > left) return false;
    at_ = next_;
    next_ += size();
    ++records_;
    return true;
  }
  bool Whole() const noexcept { return next_ == end_; }

  /// Number of the present record, from 0.
  std::uint32_t index() const noexcept { return records_ - 1; }
  std::uint32_t id() const noexcept { return CmdHeaderId(header_); }
  bool Is(Cmd id) const noexcept { return this->id() == static_cast<std::uint32_t>(id); }
  std::size_t size() const noexcept { return CmdHeaderSize(header_); }
  const std::uint8_t* data() const noexcept { return at_; }
  template <typename Record>
  Record As() const noexcept {
    return ReadRecord<Record>(at_, size());
  }

 private:
  const std::uint8_t* next_;
  const std::uint8_t* end_;
  const std::uint8_t* at_ = nullptr;
  std::uint32_t header_ = 0;
  std::uint32_t records_ = 0;
};

}  // namespace tlr2
