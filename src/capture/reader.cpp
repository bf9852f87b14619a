// Reading a capture. The order of the checks and their messages is fixed: tests and people's notes quote them. Nothing
// is allocated from a count of the file before the count was held against the bytes that the file has left.
#define _FILE_OFFSET_BITS 64  // NOLINT(bugprone-reserved-identifier): captures pass 2 GiB, also in 32-bit processes
#include "capture/reader.h"

#include <atomic>
#include <cstring>
#include <limits>
#include <utility>

#include "capture/crc32.h"
#include "capture/format.h"
#include "capture/texture_fields.h"

namespace tlr2 {
namespace {

constexpr std::uint32_t kTableLimit = 0x100000;
constexpr std::uint64_t kBlobByteLimit = 0x20000000;

std::atomic<const char*> lastError{nullptr};

/// An open file and its size.
struct Source {
  std::FILE* file;
  std::uint64_t size;  // 0 where it cannot be told, as for a pipe

  std::uint64_t Left() const noexcept {
    const auto at = ftello(file);
    return at < 0 || static_cast<std::uint64_t>(at) >= size ? 0 : size - static_cast<std::uint64_t>(at);
  }
  /// Fills a vector of plain records with `count` of them.
  template <typename T>
  bool ReadTable(std::uint64_t offset, std::uint32_t count, std::vector<T>& out) const {
    if (!SeekTo(file, offset)) return false;
    const std::uint64_t bytes = std::uint64_t{count} * sizeof(T);
    if (bytes > Left()) return false;
    out.resize(count);
    return ReadBytes(file, out.data(), static_cast<std::size_t>(bytes));
  }
  bool ReadBuffer(std::uint64_t bytes, ByteVector& out) const {
    if (bytes == 0) return true;
    if (bytes > Left()) return false;
    return ReadBytes(file, out.GrowUninitialized(static_cast<std::size_t>(bytes)), static_cast<std::size_t>(bytes));
  }
};

std::uint64_t MeasuredSize(std::FILE* file) noexcept {
  if (fseeko(file, 0, SEEK_END) != 0) return 0;
  const auto size = ftello(file);
  return size < 0 ? 0 : static_cast<std::uint64_t>(size);
}

/// The payloads as texels, so that the textures that name a blob can share them. A size that is no multiple of four
/// gets a last texel that is part zero; only textures mind.
const char* ReadBlobs(const Source& source, const std::vector<CaptureBlob>& table, std::vector<TexelVector>& payloads,
                      CaptureContents& out) {
  payloads.resize(table.size());
  for (std::size_t i = 0; i < table.size(); ++i) {
    const CaptureBlob& blob = table[i];
    out.fileBlobBytes += blob.size;
    if (blob.size > kBlobByteLimit) return "implausible keyframe blob size";
    if (!SeekTo(source.file, blob.offset)) return "seek failed on blob payload";
    if (blob.size > source.Left()) return "short read on blob payload";
    const auto bytes = static_cast<std::size_t>(blob.size);
    const std::size_t texels = (bytes + 3) / 4;
    if (texels == 0) {
      if (blob.crc != Crc32(nullptr, 0)) return "crc mismatch on keyframe blob";
      continue;
    }
    payloads[i].Renew(texels);
    payloads[i][texels - 1] = 0;
    if (!ReadBytes(source.file, payloads[i].data(), bytes)) return "short read on blob payload";
    if (Crc32(payloads[i].data(), bytes) != blob.crc) return "crc mismatch on keyframe blob";
  }
  return nullptr;
}

const char* StoreTextures(const std::vector<CaptureTexture>& entries, const std::vector<CaptureBlob>& table,
                          const std::vector<TexelVector>& payloads, CaptureContents& out) {
  out.textures.resize(entries.size());
  for (const CaptureTexture& entry : entries) {
    if (entry.slot >= entries.size()) return "texture slot index outside keyframe table";
    TextureObject& object = out.textures[entry.slot];
    if (entry.blobIndex != kNoBlob) {
      if (entry.blobIndex >= table.size()) return "texture references missing blob";
      if (table[entry.blobIndex].size % 4 != 0) return "texture mip bytes not u32-aligned";
      object.pixels = payloads[entry.blobIndex];
      out.textureBytes += table[entry.blobIndex].size;
    }
    CopyTextureFields(entry, object);
  }
  return nullptr;
}

using FrameSink = std::function<void(CapturedFrame&&)>;

/// One frame record; null when the sink has it.
const char* ReadFrame(const Source& source, CaptureContents& out, const FrameSink& sink) {
  CaptureFrameHead head;
  if (!ReadBytes(source.file, &head, sizeof head)) return "short read on frame header";
  if (head.streamBytes > kFramePartByteLimit || head.blobBytes > kFramePartByteLimit ||
      head.referenceBytes > kFramePartByteLimit) {
    return "implausible frame record size";
  }
  CapturedFrame frame;
  if (!source.ReadBuffer(head.streamBytes, frame.stream)) return "short read on frame stream";
  if (!source.ReadBuffer(head.blobBytes, frame.blob)) return "short read on frame blob";
  if (!source.ReadBuffer(head.referenceBytes, frame.reference)) return "short read on frame reference BGRA";
  out.streamBytes += head.streamBytes;
  out.frameBlobBytes += head.blobBytes;
  sink(std::move(frame));
  return nullptr;
}

/// All of an open file; null on success.
const char* ReadContents(std::FILE* file, CaptureContents& out, const FrameSink& sink, std::size_t& frameCount) {
  CaptureHeader header;
  if (!ReadBytes(file, &header, sizeof header)) return "short read on header";
  if (header.magic0 != kCaptureMagic0 || header.magic1 != kCaptureMagic1) {
    return "bad magic (not a .tlr2-capture file)";
  }
  if (header.version != kCaptureVersion) return "unsupported capture version (expected v4 raw command stream)";
  if (header.layoutHash != kCaptureLayoutHash) {
    return "layout-hash mismatch (capture made against different Cmd POD sizes)";
  }
  if (header.textureCount > kTableLimit || header.blobCount > kTableLimit) return "implausible keyframe table count";
  out.width = header.width;
  out.height = header.height;
  const Source source = {file, MeasuredSize(file)};
  if (!SeekTo(file, header.keyframeOffset) || !ReadBytes(file, &out.snapshot, sizeof out.snapshot)) {
    return "short read on keyframe snapshot";
  }
  std::vector<CaptureTexture> textures;
  if (!source.ReadTable(header.textureTableOffset, header.textureCount, textures)) {
    return "short read on texture table";
  }
  std::vector<CaptureBlob> table;
  if (!source.ReadTable(header.blobTableOffset, header.blobCount, table)) return "short read on blob table";
  out.blobCount = header.blobCount;
  std::vector<TexelVector> payloads;
  if (const char* error = ReadBlobs(source, table, payloads, out); error != nullptr) return error;
  if (const char* error = StoreTextures(textures, table, payloads, out); error != nullptr) return error;

  if (!SeekTo(file, header.frameRecordsOffset)) return "seek failed on frame records";
  // A file that was never closed has as many frames as are whole.
  const bool recovering = header.frameCount == kCaptureOpen;
  while (frameCount < header.frameCount) {
    if (const char* error = ReadFrame(source, out, sink); error != nullptr) {
      if (recovering) break;
      return error;
    }
    ++frameCount;
  }
  if (recovering) {
    std::fprintf(stderr,
                 "tlr2_replay: NOTE: capture file had open-sentinel frameCount; recovered %zu frames by EOF scan\n",
                 frameCount);
  }
  return nullptr;
}

bool SameTexture(const TextureObject& a, const TextureObject& b) noexcept {
  return a.width == b.width && a.height == b.height && a.inUse == b.inUse && a.hasImage == b.hasImage &&
         a.levelCount == b.levelCount && a.pixels.size() == b.pixels.size() &&
         (a.pixels.empty() || std::memcmp(a.pixels.data(), b.pixels.data(), a.pixels.size() * 4) == 0);
}

bool SameBytes(const ByteVector& a, const ByteVector& b) noexcept {
  return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

}  // namespace

bool ReadBytes(std::FILE* file, void* destination, std::size_t size) noexcept {
  return size == 0 || std::fread(destination, 1, size, file) == size;
}

bool SeekTo(std::FILE* file, std::uint64_t offset) noexcept {
  if (offset > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return false;
  return fseeko(file, static_cast<off_t>(offset), SEEK_SET) == 0;
}

const char* LastCaptureError() noexcept { return lastError.load(std::memory_order_relaxed); }

bool ReadCaptureFrames(const char* path, CaptureContents& out, const char** error, const FrameSink& frame,
                       std::size_t& frameCount) {
  out = CaptureContents();
  frameCount = 0;
  const char* message = "cannot open file";
  if (std::FILE* file = std::fopen(path, "rb"); file != nullptr) {
    // Closes on the way out, also when memory runs out.
    struct Closer {
      std::FILE* file;
      ~Closer() { std::fclose(file); }
    } const closer{file};
    message = ReadContents(file, out, frame, frameCount);
  }
  if (message == nullptr) return true;
  lastError.store(message, std::memory_order_relaxed);
  if (error != nullptr) *error = message;
  return false;
}

bool ReadCapture(const char* path, CaptureContents& out, const char** error) {
  const auto keep = [&out](CapturedFrame&& frame) {
    out.streams.push_back(std::move(frame.stream));
    out.blobs.push_back(std::move(frame.blob));
    out.references.push_back(std::move(frame.reference));
  };
  std::size_t frameCount = 0;
  return ReadCaptureFrames(path, out, error, keep, frameCount);
}

bool VerifyCaptureRoundTrip(const char* path, const CommandStream& stream, const DriverState& state,
                            const StateSnapshot& snapshot) {
  CaptureContents read;
  if (!ReadCapture(path, read, nullptr) || read.streams.size() != 1) return false;
  // The file holds the record's bytes, whatever they mean. NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
  if (std::memcmp(&read.snapshot, &snapshot, sizeof snapshot) != 0) return false;
  if (read.textures.size() != state.textureTable.size()) return false;
  for (std::size_t i = 0; i < read.textures.size(); ++i) {
    if (!SameTexture(read.textures[i], state.textureTable[i])) return false;
  }
  return SameBytes(read.streams[0], stream.bytes) && SameBytes(read.blobs[0], stream.blob);
}

}  // namespace tlr2
