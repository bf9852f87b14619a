// Keyframes: the state as it stood when the frame being recorded began, textures copied on first write.
#pragma once

#include <cstdint>
#include <vector>

#include "api/state/driver_state.h"

namespace tlr2 {

struct Keyframe {
  StateSnapshot snapshot = {};
  std::uint32_t textureCount = 0;  // entries of the texture table at the frame's start
  std::vector<std::uint32_t> pendingIds;
  std::vector<TextureObject> pendingRecords;
  std::uint8_t valid = 0;
};

struct LiveKeyframe : Keyframe {
  std::vector<std::uint8_t> touched;  // touched[i]: texture i is among the pending records
};

LiveKeyframe& LiveKeyframeInstance() noexcept;

/// Makes the present state the next frame's start.
void TakeKeyframe();
/// Saves a texture's record before it changes, once a frame.
void TouchTexture(std::uint32_t name);
void BuildKeyframe(Keyframe& out);
/// Rewinds the driver state to `keyframe`, grid included; nothing when it is not valid.
void ApplyKeyframe(const Keyframe& keyframe);
/// Clones the texture table and snapshot as at the frame's start. False when no keyframe is valid.
bool CaptureBaseline(DriverState& temp, StateSnapshot& out);

}  // namespace tlr2
