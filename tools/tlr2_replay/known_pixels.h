// Which pixels of a picture follow from the capture alone. A capture does not hold the colours, depths and depth bounds
// that earlier frames left, and a frame that does not clear them may show them: such pixels cannot be judged.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "records/driver_state.h"

namespace tlr2::tool {

class Session;

class KnownPixels {
 public:
  /// Nothing is known of what the buffers hold.
  KnownPixels(std::int32_t width, std::int32_t height);

  /// The surface was made anew: what a device gives is black as a rule, which no file promises.
  void SurfaceMade(std::int32_t width, std::int32_t height);
  /// The tile grid was made anew, with fresh bounds.
  void GridMade();
  /// Ahead of a frame's render into colour buffer `buffer`: its clears, unless the frame ends before they are done.
  void FrameBegins(int buffer, const DriverState& state, bool renders);
  /// After the render: walks the frame where it drew on what is not known.
  void FrameRendered(const Session& session);

  /// Of the latest frame's picture, one a pixel, rows tight.
  const std::vector<std::uint8_t>& Color() const noexcept { return color_[buffer_]; }
  bool ColorKnown(std::int32_t x, std::int32_t y) const noexcept {
    return color_[buffer_]
                 [static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x)] != 0;
  }
  std::uint64_t UnknownCount() const noexcept;
  /// The smallest rectangle around the unknown ones, both corners in it.
  struct Bounds {
    std::int32_t x0, y0, x1, y1;
  };
  std::optional<Bounds> UnknownBounds() const noexcept;

 private:
  std::int32_t width_ = 0;
  std::vector<std::uint8_t> color_[2], depth_;
  bool bounds_ = false;  // of all tiles alike: one clear or one new grid sets them all
  int buffer_ = 0;
};

}  // namespace tlr2::tool
