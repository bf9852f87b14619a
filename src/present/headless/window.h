// Headless windows as the device sees them, and the switches by which a test makes the device fail.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/buffer_memory.h"
#include "present/postprocess.h"

namespace tlr2 {

struct BufferDeleter {
  void operator()(std::uint32_t* buffer) const noexcept { FreeBuffer(buffer); }
};
/// Owned memory of AllocateBuffer.
using ColorBuffer = std::unique_ptr<std::uint32_t[], BufferDeleter>;

/// The picture last shown, as it was drawn. Nothing is copied when it is shown: a look at it copies it out of the
/// colour buffer, adjusted by the constants of that moment. Two colour buffers alternate, so the device draws into this
/// one again only after it has shown the other.
struct ShownPicture {
  const std::uint32_t* pixels = nullptr;  // null before the first picture
  std::uint32_t rowPitch = 0;             // bytes
  std::int32_t width = 0, height = 0;
  PostProcessConstants constants = {};
};

struct HeadlessWindow {
  std::int32_t clientWidth = 0, clientHeight = 0;
  ShownPicture shown;
  ColorBuffer kept;  // the pixels of `shown`, once their device is gone
  std::uint32_t pictureCount = 0;
  // Each lasts until it is cleared.
  bool failInit = false;     // no device
  bool failMap = false;      // no colour buffer can be had
  bool failPresent = false;  // the picture is not shown
};

/// The live window of a handle; null for anything else.
HeadlessWindow* FindHeadlessWindow(void* handle) noexcept;

/// Shows and counts a picture in place of the one before, whose pixels nobody reads any more when this returns. False
/// without a window, and when it is not to be shown.
bool ShowInHeadlessWindow(void* handle, const ShownPicture& picture) noexcept;

/// Before its owner frees a colour buffer: the window takes it if it is the one that it shows.
void KeepIfShown(void* handle, ColorBuffer& buffer) noexcept;

}  // namespace tlr2
