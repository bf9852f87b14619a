// What a texture's object and its entry in a capture's table both hold, under the same names.
#pragma once

#include <cstring>

#include "capture/format.h"
#include "records/texture.h"

namespace tlr2 {

/// From the object to the entry when writing, from the entry to the object when reading. Slot and texels are the
/// caller's.
template <typename From, typename To>
void CopyTextureFields(const From& from, To& to) noexcept {
  to.width = static_cast<decltype(to.width)>(from.width);
  to.height = static_cast<decltype(to.height)>(from.height);
  to.wrapS = from.wrapS;
  to.wrapT = from.wrapT;
  to.magFilter = from.magFilter;
  to.minFilter = from.minFilter;
  to.inUse = from.inUse != 0 ? 1 : 0;
  to.hasImage = from.hasImage != 0 ? 1 : 0;
  to.levelCount = from.levelCount;
  static_assert(sizeof to.levelWidth == sizeof from.levelWidth);
  std::memcpy(to.levelWidth, from.levelWidth, sizeof to.levelWidth);
  std::memcpy(to.levelHeight, from.levelHeight, sizeof to.levelHeight);
  std::memcpy(to.levelPitch, from.levelPitch, sizeof to.levelPitch);
  std::memcpy(to.levelTexelBytes, from.levelTexelBytes, sizeof to.levelTexelBytes);
  std::memcpy(to.levelOffset, from.levelOffset, sizeof to.levelOffset);
}

}  // namespace tlr2
