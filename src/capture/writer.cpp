// Writing a capture: the start of the file at the first frame of the range, a record a frame, the count at the end.
#define _FILE_OFFSET_BITS 64  // NOLINT(bugprone-reserved-identifier): captures pass 2 GiB, also in 32-bit processes
#include "capture/writer.h"

#include <cstring>
#include <string>
#include <vector>

#include "api/accounting.h"
#include "capture/blob_list.h"
#include "capture/format.h"
#include "capture/frame_tick.h"

namespace tlr2 {

std::atomic<std::int32_t> captureRequested{0};
std::atomic<std::int32_t> traceRequested{0};

namespace {

constexpr std::size_t kFileBufferBytes = 4194304;

struct CaptureWriter {
  std::FILE* file = nullptr;
  std::uint32_t frameCount = 0;
  char name[128] = "";  // empty: no capture has been asked for
  bool quitWhenDone = false;
  bool referencePixels = false;
  FinishedCapture latest = {};
};

CaptureWriter writer;
char fileBuffer[kFileBufferBytes];

bool WriteBytes(std::FILE* file, const void* data, std::uint64_t size) noexcept {
  return size == 0 || std::fwrite(data, 1, static_cast<std::size_t>(size), file) == size;
}

std::uint64_t Position(std::FILE* file) noexcept { return static_cast<std::uint64_t>(ftello(file)); }

CaptureTexture TextureEntry(std::uint32_t slot, const TextureObject& object, std::uint32_t blobIndex) noexcept {
  CaptureTexture entry = {};
  entry.slot = slot;
  entry.width = static_cast<std::uint32_t>(object.width);
  entry.height = static_cast<std::uint32_t>(object.height);
  entry.wrapS = object.wrapS;
  entry.wrapT = object.wrapT;
  entry.magFilter = object.magFilter;
  entry.minFilter = object.minFilter;
  entry.inUse = object.inUse != 0 ? 1 : 0;
  entry.hasImage = object.hasImage != 0 ? 1 : 0;
  entry.levelCount = object.levelCount;
  std::memcpy(entry.levelWidth, object.levelWidth, sizeof entry.levelWidth);
  std::memcpy(entry.levelHeight, object.levelHeight, sizeof entry.levelHeight);
  std::memcpy(entry.levelPitch, object.levelPitch, sizeof entry.levelPitch);
  std::memcpy(entry.levelTexelBytes, object.levelTexelBytes, sizeof entry.levelTexelBytes);
  std::memcpy(entry.levelOffset, object.levelOffset, sizeof entry.levelOffset);
  entry.blobIndex = blobIndex;
  return entry;
}

// The sections in order; the header goes out twice, the second time with the positions that the first pass found.
bool WriteStart(std::FILE* file, const StateSnapshot& snapshot, const std::vector<CaptureTexture>& textures,
                BlobList& blobs, std::int32_t width, std::int32_t height) noexcept {
  CaptureHeader header = {};
  header.magic0 = kCaptureMagic0;
  header.magic1 = kCaptureMagic1;
  header.version = kCaptureVersion;
  header.layoutHash = kCaptureLayoutHash;
  header.frameCount = kCaptureOpen;
  header.width = static_cast<std::uint32_t>(width);
  header.height = static_cast<std::uint32_t>(height);
  header.textureCount = static_cast<std::uint32_t>(textures.size());
  header.blobCount = static_cast<std::uint32_t>(blobs.table.size());
  if (!WriteBytes(file, &header, sizeof header)) return false;
  header.keyframeOffset = Position(file);
  if (!WriteBytes(file, &snapshot, sizeof snapshot)) return false;
  header.textureTableOffset = Position(file);
  if (!WriteBytes(file, textures.data(), textures.size() * sizeof(CaptureTexture))) return false;
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

}  // namespace

void SetCaptureRange(std::int32_t first, std::int32_t last, const char* /*source*/, bool quitWhenDone) noexcept {
  if (first < 0 || last < first) return;
  if (first == last) {
    std::snprintf(writer.name, sizeof writer.name, "TLR2_capture_frame%d.tlr2-capture", first);
  } else {
    std::snprintf(writer.name, sizeof writer.name, "TLR2_capture_frames%d-%d.tlr2-capture", first, last);
  }
  writer.file = nullptr;
  writer.frameCount = 0;
  writer.quitWhenDone = quitWhenDone;
  captureLastFrame.store(last, std::memory_order_relaxed);
  captureFirstFrame.store(first, std::memory_order_relaxed);
}

void SetCaptureReferencePixels(bool wanted) noexcept { writer.referencePixels = wanted; }
bool CaptureReferencePixels() noexcept { return writer.referencePixels; }

bool BeginCaptureIfDue(const DriverState& clone, const StateSnapshot& snapshot, std::int32_t width,
                       std::int32_t height) {
  const std::int32_t first = captureFirstFrame.load(std::memory_order_relaxed);
  const std::int32_t frame = currentFrame.load(std::memory_order_relaxed);
  if (first < 0 || frame < first || frame > captureLastFrame.load(std::memory_order_relaxed)) return true;
  if (writer.file != nullptr || writer.name[0] == '\0') return true;
  BlobList blobs;
  std::vector<CaptureTexture> textures;
  textures.reserve(clone.textureTable.size());
  for (std::uint32_t slot = 0; slot < clone.textureTable.size(); ++slot) {
    const TextureObject& object = clone.textureTable[slot];
    const std::uint32_t blob =
        blobs.Add(kBlobKindTexels, object.pixels.data(), std::uint64_t{object.pixels.size()} * 4);
    textures.push_back(TextureEntry(slot, object, blob));
  }
  std::FILE* file = std::fopen(writer.name, "wb");
  if (file == nullptr) return false;
  std::setvbuf(file, fileBuffer, _IOFBF, sizeof fileBuffer);
  if (!WriteStart(file, snapshot, textures, blobs, width, height)) {
    std::fclose(file);
    return false;
  }
  writer.file = file;
  writer.frameCount = 0;
  return true;
}

void WriteCaptureFrame(const FrameJob& job, const std::uint8_t* pixels, std::uint64_t pixelBytes) {
  if (writer.file == nullptr) return;
  const CaptureFrameHead head = {job.stream.bytes.size(), job.stream.blob.size(), pixels != nullptr ? pixelBytes : 0};
  if (!WriteBytes(writer.file, &head, sizeof head) ||
      !WriteBytes(writer.file, job.stream.bytes.data(), head.streamBytes) ||
      !WriteBytes(writer.file, job.stream.blob.data(), head.blobBytes) ||
      !WriteBytes(writer.file, pixels, head.referenceBytes)) {
    return;
  }
  // A killed process then loses no whole frame.
  std::fflush(writer.file);
  ++writer.frameCount;
}

void CloseCaptureFile(std::FILE* file, std::uint32_t frameCount) noexcept {
  std::fflush(file);
  if (std::fseek(file, 16, SEEK_SET) == 0) WriteBytes(file, &frameCount, sizeof frameCount);
  std::fclose(file);
}

bool FinishCaptureRange(std::int32_t frame) noexcept {
  if (captureFirstFrame.load(std::memory_order_relaxed) < 0 ||
      frame <= captureLastFrame.load(std::memory_order_relaxed)) {
    return false;
  }
  if (writer.file != nullptr) {
    CloseCaptureFile(writer.file, writer.frameCount);
    std::uint64_t size = 0;
    if (std::FILE* finished = std::fopen(writer.name, "rb"); finished != nullptr) {
      if (fseeko(finished, 0, SEEK_END) == 0) size = Position(finished);
      std::fclose(finished);
    }
    std::memcpy(writer.latest.path, writer.name, sizeof writer.name);
    writer.latest.sizeBytes = size;
    writer.latest.frameCount = writer.frameCount;
  }
  writer.file = nullptr;
  writer.frameCount = 0;
  writer.name[0] = '\0';
  captureFirstFrame.store(-1, std::memory_order_relaxed);
  captureLastFrame.store(-1, std::memory_order_relaxed);
  const bool quit = writer.quitWhenDone;
  writer.quitWhenDone = false;
  return quit;
}

void AbandonCapture() noexcept {
  if (writer.file == nullptr) return;
  CloseCaptureFile(writer.file, writer.frameCount);
  writer.file = nullptr;
  writer.frameCount = 0;
  writer.name[0] = '\0';
  writer.quitWhenDone = false;
}

const FinishedCapture& LatestFinishedCapture() noexcept { return writer.latest; }

}  // namespace tlr2
