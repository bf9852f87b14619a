// The sections of a capture file as they are written, for the writer and for tools that make captures from captures.
#pragma once

#include <cstdint>
#include <cstdio>
#include <vector>

#include "api/state/command_stream.h"
#include "capture/blob_list.h"
#include "records/state_snapshot.h"
#include "records/texture.h"

namespace tlr2 {

/// The texture table and its payloads.
struct GatheredTextures {
  std::vector<CaptureTexture> entries;
  BlobList blobs;
};
GatheredTextures GatherTextures(const std::vector<TextureObject>& textures);

/// Everything up to the frame records, with the count of an open file. `file` is empty; afterwards it stands at its
/// end. Assigns the payloads' offsets. False on a short write.
bool WriteCaptureStart(std::FILE* file, const StateSnapshot& snapshot, GatheredTextures& textures, std::int32_t width,
                       std::int32_t height) noexcept;
/// Appends a frame record; `pixels` may be null when `pixelBytes` is 0. False on a short write.
bool WriteFrameRecord(std::FILE* file, const ByteVector& stream, const ByteVector& blob, const std::uint8_t* pixels,
                      std::uint64_t pixelBytes) noexcept;
/// Closes the format: puts the frame count into the header. A failed seek leaves the count out.
bool WriteFrameCount(std::FILE* file, std::uint32_t frameCount) noexcept;

}  // namespace tlr2
