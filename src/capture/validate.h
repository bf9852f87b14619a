// Whether a capture that was read may be given to the driver.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

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

/// The same, frame by frame: the keyframe first, then each frame in order, until one has a fault.
class CaptureCheck {
 public:
  explicit CaptureCheck(const CaptureLimits& limits = {}) : limits_(limits) {}

  /// Surface, snapshot and textures. Keeps no reference to them.
  std::string Keyframe(const CaptureContents& contents);
  std::string Frame(const ByteVector& stream, const ByteVector& blob, const ByteVector& reference);

 private:
  bool Cover(std::int64_t width, std::int64_t height) noexcept;
  std::string Snapshot(const StateSnapshot& snapshot);
  std::string Textures(const std::vector<TextureObject>& textures);
  std::string Record(const class RecordWalk& walk, const ByteVector& blob);
  std::string Upload(const struct CmdTexImage2D& record);
  std::string Generation(std::int32_t count);
  std::string Deletion(const struct CmdDeleteTextures& record, const ByteVector& blob);
  bool Hold(std::uint32_t name, std::uint64_t bytes);
  std::string TooManyTexels() const;

  CaptureLimits limits_;
  std::size_t frame_ = 0;
  std::int64_t width_ = 0, height_ = 0;  // of the surface that everything so far needs
  std::uint32_t bound_ = 0;
  std::vector<bool> used_;      // names in use, as long as the texture table
  std::size_t lowestFree_ = 1;  // no name from 1 up to it is free
  std::uint64_t texelBytes_ = 0;
  std::unordered_map<std::uint32_t, std::uint64_t> held_;  // texel bytes by texture name
};

}  // namespace tlr2
