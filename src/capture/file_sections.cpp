// Writing a capture's sections.
#define _FILE_OFFSET_BITS 64  // NOLINT(bugprone-reserved-identifier): captures pass 2 GiB, also in 32-bit processes
#include "capture/file_sections.h"

#include <cstddef>

#include "capture/texture_fields.h"

namespace tlr2 {
namespace {

bool WriteBytes(std::FILE* file, const void* data, std::uint64_t size) noexcept {
  return size == 0 || std::fwrite(data, 1, static_cast<std::size_t>(size), file) == size;
}

std::uint64_t Position(std::FILE* file) noexcept { return static_cast<std::uint64_t>(ftello(file)); }

CaptureTexture TextureEntry(std::uint32_t slot, const TextureObject& object, std::uint32_t blobIndex) noexcept {
  CaptureTexture entry = {};
  entry.slot = slot;
  CopyTextureFields(object, entry);
  entry.blobIndex = blobIndex;
  return entry;
}

}  // namespace

GatheredTextures GatherTextures(const std::vector<TextureObject>& textures) {
  GatheredTextures gathered;
  gathered.entries.reserve(textures.size());
  for (std::uint32_t slot = 0; slot < textures.size(); ++slot) {
    const TextureObject& object = textures[slot];
    const std::uint32_t blob =
        gathered.blobs.Add(kBlobKindTexels, object.pixels.data(), std::uint64_t{object.pixels.size()} * 4);
    gathered.entries.push_back(TextureEntry(slot, object, blob));
  }
  return gathered;
}

// The sections in order; the header goes out twice, the second time with the positions that the first pass found.
bool WriteCaptureStart(std::FILE* file, const StateSnapshot& snapshot, GatheredTextures& textures, std::int32_t width,
                       std::int32_t height) noexcept {
  BlobList& blobs = textures.blobs;
  CaptureHeader header = {};
  header.magic0 = kCaptureMagic0;
  header.magic1 = kCaptureMagic1;
  header.version = kCaptureVersion;
  header.layoutHash = kCaptureLayoutHash;
  header.frameCount = kCaptureOpen;
  header.width = static_cast<std::uint32_t>(width);
  header.height = static_cast<std::uint32_t>(height);
  header.textureCount = static_cast<std::uint32_t>(textures.entries.size());
  header.blobCount = static_cast<std::uint32_t>(blobs.table.size());
  if (!WriteBytes(file, &header, sizeof header)) return false;
  header.keyframeOffset = Position(file);
  if (!WriteBytes(file, &snapshot, sizeof snapshot)) return false;
  header.textureTableOffset = Position(file);
  if (!WriteBytes(file, textures.entries.data(), textures.entries.size() * sizeof(CaptureTexture))) return false;
  header.blobTableOffset = Position(file);
  std::uint64_t payloadOffset = header.blobTableOffset + blobs.table.size() * sizeof(CaptureBlob);
  for (CaptureBlob& blob : blobs.table) {
    blob.offset = payloadOffset;
    payloadOffset += blob.size;
  }
  if (!WriteBytes(file, blobs.table.data(), blobs.table.size() * sizeof(CaptureBlob))) return false;
  header.blobPayloadOffset = Position(file);
  for (const auto& payload : blobs.payloads) {
    if (!WriteBytes(file, payload.data(), payload.size())) return false;
  }
  header.frameRecordsOffset = Position(file);
  if (std::fseek(file, 0, SEEK_SET) != 0 || !WriteBytes(file, &header, sizeof header)) return false;
  return std::fseek(file, 0, SEEK_END) == 0;
}

bool WriteFrameRecord(std::FILE* file, const ByteVector& stream, const ByteVector& blob, const std::uint8_t* pixels,
                      std::uint64_t pixelBytes) noexcept {
  const CaptureFrameHead head = {stream.size(), blob.size(), pixelBytes};
  return WriteBytes(file, &head, sizeof head) && WriteBytes(file, stream.data(), head.streamBytes) &&
         WriteBytes(file, blob.data(), head.blobBytes) && WriteBytes(file, pixels, head.referenceBytes);
}

bool WriteFrameCount(std::FILE* file, std::uint32_t frameCount) noexcept {
  constexpr long at = offsetof(CaptureHeader, frameCount);
  return std::fseek(file, at, SEEK_SET) == 0 && WriteBytes(file, &frameCount, sizeof frameCount);
}

}  // namespace tlr2
