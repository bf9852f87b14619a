// Running a capture's records on the driver state without drawing anything.
#pragma once

#include <cstdint>

#include "capture/reader.h"

namespace tlr2::tool {

/// Walks forward through a capture; the state is the process's own, DriverStateInstance(). Takes each frame's buffers
/// out of the capture while it runs them.
class StateWalk {
 public:
  explicit StateWalk(CaptureContents& capture);
  StateWalk(const StateWalk&) = delete;
  StateWalk& operator=(const StateWalk&) = delete;

  /// Runs whole frames up to the start of `frame`, which is not before the present one.
  void ToFrame(std::uint32_t frame);
  /// Runs the present frame whole. Its packets stay in the state until the next run.
  void RunFrame();
  /// Runs the first `records` records of the present frame; nothing may run after that.
  void RunRecords(std::uint32_t records);
  std::uint32_t Frame() const noexcept { return frame_; }

 private:
  void Run(std::size_t bytes);

  CaptureContents& capture_;
  std::uint32_t frame_ = 0;
};

}  // namespace tlr2::tool
