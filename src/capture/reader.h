// The capture reader: a whole file into memory, every field checked against its limits.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <vector>

#include "api/state/command_stream.h"
#include "records/driver_state.h"
#include "records/state_snapshot.h"

namespace tlr2 {

/// What a capture file holds. The three vectors of buffers have one element a frame.
struct CaptureContents {
  StateSnapshot snapshot = {};  // at the start of the first frame
  std::uint32_t width = 0, height = 0;
  std::vector<TextureObject> textures;  // textures that name one blob share its texels
  std::vector<ByteVector> streams;
  std::vector<ByteVector> blobs;
  std::vector<ByteVector> references;  // empty where the file holds no pixels
  std::uint32_t blobCount = 0;         // entries of the blob table
  std::uint64_t fileBlobBytes = 0;     // of the blob table's payloads
  std::uint64_t textureBytes = 0;      // of texels set into `textures`, shared ones counted each time
  std::uint64_t streamBytes = 0;       // of all frames
  std::uint64_t frameBlobBytes = 0;    // of all frames
};

/// Reads the file at `path`. On failure `out` keeps what was loaded so far, and the message, a static string, is stored
/// through `error` unless that is null. What the records hold is not looked at: see ValidateCapture.
bool ReadCapture(const char* path, CaptureContents& out, const char** error);
/// The buffers of one frame record.
struct CapturedFrame {
  ByteVector stream, blob, reference;
};
/// The same for files larger than memory: each frame goes to `frame` as it is read, and `out` keeps none. Returns how
/// many there were through `frameCount`, also on failure.
bool ReadCaptureFrames(const char* path, CaptureContents& out, const char** error,
                       const std::function<void(CapturedFrame&&)>& frame, std::size_t& frameCount);
/// The message of the last read that failed; null before the first.
const char* LastCaptureError() noexcept;
/// Whether the file at `path` holds one frame, and that frame, keyframe and textures are the ones given, byte for byte.
bool VerifyCaptureRoundTrip(const char* path, const CommandStream& stream, const DriverState& state,
                            const StateSnapshot& snapshot);

/// True if `size` is 0 or all bytes were read.
bool ReadBytes(std::FILE* file, void* destination, std::size_t size) noexcept;
bool SeekTo(std::FILE* file, std::uint64_t offset) noexcept;

}  // namespace tlr2
