// A record of a stream as the GL call it was.
#pragma once

#include <string>
#include <vector>

#include "capture/record_walk.h"

namespace tlr2::tool {

struct CallArgument {
  std::string name;
  std::string text;
  bool number;  // `text` reads as a number
};

struct CallText {
  std::string name;  // "glBegin"; "record 47" for an id without a layout
  std::vector<CallArgument> arguments;

  /// "glBegin(mode = GL_QUADS)"
  std::string Line() const;
};

/// `blob` is the frame's.
CallText DescribeRecord(const RecordWalk& walk, const ByteVector& blob);

/// The shortest digits that read back as the same float.
std::string FloatText(float value);

/// Which primitive a record belongs to: from its Begin to its End, counted from 0 in each frame.
class PrimitiveCounter {
 public:
  static constexpr std::uint32_t kNone = 0xFFFFFFFFu;
  /// For each record in order; kNone outside a pair.
  std::uint32_t Of(const RecordWalk& walk) noexcept {
    if (walk.Is(Cmd::Begin)) {
      open_ = next_++;
    } else if (walk.Is(Cmd::SwapBuffers)) {
      open_ = kNone;
    }
    const std::uint32_t primitive = open_;
    if (walk.Is(Cmd::End)) open_ = kNone;
    return primitive;
  }

 private:
  std::uint32_t next_ = 0;
  std::uint32_t open_ = kNone;
};

}  // namespace tlr2::tool
