// The capture file, version 4: header, keyframe snapshot, texture table, blob table, payloads, frame records. All
// fields little-endian, all offsets from the start of the file.
#pragma once

#include <cstddef>
#include <cstdint>

#include "records/state_snapshot.h"

namespace tlr2 {

inline constexpr std::uint32_t kCaptureMagic0 = 0x32534C54u;  // "TLS2"
inline constexpr std::uint32_t kCaptureMagic1 = 0x54504143u;  // "CAPT"
inline constexpr std::uint32_t kCaptureVersion = 4;
/// Changed whenever a command record's layout changes, so that another build refuses the file.
inline constexpr std::uint32_t kCaptureLayoutHash = 0x3925DC0Fu;
/// frameCount of a file that was not closed.
inline constexpr std::uint32_t kCaptureOpen = 0xFFFFFFFFu;
inline constexpr std::uint32_t kNoBlob = 0xFFFFFFFFu;
inline constexpr std::uint32_t kBlobKindTexels = 1;

struct CaptureHeader {
  std::uint32_t magic0, magic1, version, layoutHash;
  std::uint32_t frameCount, reserved0;
  std::uint32_t width, height;
  std::uint64_t keyframeOffset, textureTableOffset;
  std::uint32_t textureCount, blobCount;
  std::uint64_t blobTableOffset, blobPayloadOffset, frameRecordsOffset;
  std::uint64_t reserved1[2];
};
static_assert(sizeof(CaptureHeader) == 96 && offsetof(CaptureHeader, frameCount) == 16);
static_assert(offsetof(CaptureHeader, keyframeOffset) == 32 && offsetof(CaptureHeader, textureCount) == 48);
static_assert(offsetof(CaptureHeader, blobTableOffset) == 56 && offsetof(CaptureHeader, frameRecordsOffset) == 72);

struct CaptureTexture {
  std::uint32_t slot;
  std::uint32_t width, height;
  std::uint32_t wrapS, wrapT, magFilter, minFilter;
  std::uint8_t inUse, hasImage, zero[2];
  std::uint32_t levelCount;
  std::uint32_t levelWidth[16], levelHeight[16], levelPitch[16], levelTexelBytes[16], levelOffset[16];
  std::uint32_t blobIndex;  // kNoBlob for none
  std::uint32_t reserved;
};
static_assert(sizeof(CaptureTexture) == 364 && offsetof(CaptureTexture, levelCount) == 8 * 4);
static_assert(offsetof(CaptureTexture, levelOffset) == 73 * 4 && offsetof(CaptureTexture, blobIndex) == 89 * 4);

struct CaptureBlob {
  std::uint32_t kind, crc;
  std::uint64_t size, offset;
};
static_assert(sizeof(CaptureBlob) == 24);

/// The most bytes of each part of a frame record that are read. The writer does not look at it.
inline constexpr std::uint64_t kFramePartByteLimit = 0x4000000;

struct CaptureFrameHead {
  std::uint64_t streamBytes, blobBytes, referenceBytes;
};
static_assert(sizeof(CaptureFrameHead) == 24);

}  // namespace tlr2
