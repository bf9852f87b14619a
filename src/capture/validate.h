// Whether a capture that was read may be given to the driver.
#pragma once

#include <cstdint>
#include <string>

#include "capture/reader.h"

namespace tlr2 {

/// What a capture may ask of the driver.
struct CaptureLimits {
  std::uint32_t surfaceAxis = 16384;       // pixels of the surface and the viewports, on each axis
  std::uint64_t surfacePixels = 1u << 26;  // of the smallest surface that covers both
  std::uint32_t textureNames = 1u << 18;   // slots of the texture table
  std::uint64_t texelBytes = 1u << 30;     // of all textures at one time
};

/// Empty when `contents` indexes nothing outside what it holds and stays within `limits`; otherwise what is wrong, with
/// the frame and record where there is one. Reference pixels may be of any size in whole pixels: who compares them
/// looks at the surface it drew.
std::string ValidateCapture(const CaptureContents& contents, const CaptureLimits& limits = {});

}  // namespace tlr2
