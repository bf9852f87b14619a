// Headless windows as the device sees them, and the switches by which a test makes the device fail.
#pragma once

#include <cstdint>
#include <vector>

namespace tlr2 {

struct HeadlessWindow {
  std::int32_t clientWidth = 0, clientHeight = 0;
  std::vector<std::uint32_t> picture;  // last shown, tight
  std::int32_t pictureWidth = 0, pictureHeight = 0;
  std::uint32_t pictureCount = 0;
  // Each lasts until it is cleared.
  bool failInit = false;     // no device
  bool failMap = false;      // no colour buffer can be had
  bool failPresent = false;  // the picture is not shown
};

/// The live window of a handle; null for anything else.
HeadlessWindow* FindHeadlessWindow(void* handle) noexcept;

}  // namespace tlr2
