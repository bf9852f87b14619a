// Capture files made byte by byte, sound or with one thing wrong, independently of the writer.
#pragma once

#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "capture_bytes.h"

namespace tlr2 {

struct MadeTexture {
  std::uint32_t slot = 0, width = 0, height = 0;
  std::uint32_t wrapS = 0x2901, wrapT = 0x2901, magFilter = 0x2601, minFilter = 0x2703;
  std::uint32_t flags = 0;  // 1 in use, 0x100 has an image
  std::vector<std::uint32_t> widths, heights, pitches, texelBytes, offsets;
  std::uint32_t blob = 0xFFFFFFFFu;
};

/// A texture of one texel, whose texels are blob `blob`.
inline MadeTexture OneTexel(std::uint32_t slot, std::uint32_t blob) {
  MadeTexture texture;
  texture.slot = slot;
  texture.width = texture.height = 1;
  texture.flags = 0x101;
  texture.widths = texture.heights = {1};
  texture.pitches = texture.texelBytes = {4};
  texture.offsets = {0};
  texture.blob = blob;
  return texture;
}

struct MadeFrame {
  std::string stream, blob, reference;
};

struct MadeCapture {
  std::uint32_t magic0 = 0x32534C54, magic1 = 0x54504143, version = 4, layoutHash = 0x3925DC0F;
  std::uint32_t frameCount = 0xFFFFFFFE;  // this value: as many as `frames`
  std::uint32_t width = 64, height = 48;
  std::string snapshot = PlainSnapshot();
  std::vector<MadeTexture> textures;
  std::vector<std::string> blobs;
  std::vector<MadeFrame> frames;
  std::string tail;  // behind the frames
  // What is put into the header instead of the truth.
  std::uint32_t textureCount = 0xFFFFFFFF, blobCount = 0xFFFFFFFF;
  std::uint64_t keyframeOffset = 0, textureTableOffset = 0, blobTableOffset = 0, frameRecordsOffset = 0;
  // What is put into the blob table instead of the truth.
  std::uint64_t blobSize = 0, blobOffset = 0;

  static constexpr std::size_t kTablesAt = 96 + 6376;
  static std::string PlainSnapshot() {
    std::string bytes(6376, '\0');
    bytes[6337] = 1;  // the depth mask
    return bytes;
  }
  /// A 32-bit field of the snapshot.
  void SetSnapshot(std::size_t offset, std::uint32_t value) {
    std::string word;
    Put32(word, value);
    snapshot.replace(offset, 4, word);
  }
  std::size_t BlobTableAt() const { return kTablesAt + 364 * textures.size(); }
  std::size_t PayloadsAt() const { return BlobTableAt() + 24 * blobs.size(); }
  std::size_t FramesAt() const {
    std::size_t at = PayloadsAt();
    for (const std::string& blob : blobs) at += blob.size();
    return at;
  }

  std::string Bytes() const {
    std::string bytes;
    for (const std::uint32_t word : {magic0, magic1, version, layoutHash}) Put32(bytes, word);
    Put32(bytes, frameCount == 0xFFFFFFFE ? static_cast<std::uint32_t>(frames.size()) : frameCount);
    for (const std::uint32_t word : {0u, width, height}) Put32(bytes, word);
    Put64(bytes, keyframeOffset != 0 ? keyframeOffset : 96);
    Put64(bytes, textureTableOffset != 0 ? textureTableOffset : kTablesAt);
    Put32(bytes, textureCount != 0xFFFFFFFF ? textureCount : static_cast<std::uint32_t>(textures.size()));
    Put32(bytes, blobCount != 0xFFFFFFFF ? blobCount : static_cast<std::uint32_t>(blobs.size()));
    Put64(bytes, blobTableOffset != 0 ? blobTableOffset : BlobTableAt());
    Put64(bytes, PayloadsAt());
    Put64(bytes, frameRecordsOffset != 0 ? frameRecordsOffset : FramesAt());
    Put64(bytes, 0);
    Put64(bytes, 0);
    bytes += snapshot;
    for (const MadeTexture& texture : textures) PutTexture(bytes, texture);
    std::uint64_t offset = PayloadsAt();
    for (const std::string& blob : blobs) {
      Put32(bytes, 1);
      Put32(bytes, PlainCrc32(blob));
      Put64(bytes, blobSize != 0 ? blobSize : blob.size());
      Put64(bytes, blobOffset != 0 ? blobOffset : offset);
      offset += blob.size();
    }
    for (const std::string& blob : blobs) bytes += blob;
    for (const MadeFrame& frame : frames) {
      Put64(bytes, frame.stream.size());
      Put64(bytes, frame.blob.size());
      Put64(bytes, frame.reference.size());
      bytes += frame.stream + frame.blob + frame.reference;
    }
    return bytes + tail;
  }

  static void PutTexture(std::string& bytes, const MadeTexture& t) {
    for (const std::uint32_t word : {t.slot, t.width, t.height, t.wrapS, t.wrapT, t.magFilter, t.minFilter, t.flags,
                                     static_cast<std::uint32_t>(t.widths.size())})
      Put32(bytes, word);
    for (const auto* list : {&t.widths, &t.heights, &t.pitches, &t.texelBytes, &t.offsets})
      for (std::size_t i = 0; i < 16; ++i) Put32(bytes, i < list->size() ? (*list)[i] : 0);
    Put32(bytes, t.blob);
    Put32(bytes, 0);
  }
};

/// Heads of frame records with any sizes.
inline std::string FrameHead(std::uint64_t stream, std::uint64_t blob, std::uint64_t reference) {
  std::string bytes;
  Put64(bytes, stream);
  Put64(bytes, blob);
  Put64(bytes, reference);
  return bytes;
}

/// A record of the command stream: its head and its words.
inline std::string MadeRecord(std::uint32_t id, const std::vector<std::uint32_t>& words = {}) {
  std::string bytes;
  Put32(bytes, static_cast<std::uint32_t>(4 + words.size() * 4) << 16 | id);
  for (const std::uint32_t word : words) Put32(bytes, word);
  return bytes;
}
inline const std::string kFrameEnd = MadeRecord(45);

inline void WriteBytesTo(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

}  // namespace tlr2
