// The command stream: the frame as data. One record a recorded call, in call order, with pixels and name lists beside
// it in the blob.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "base/growing_vector.h"
#include "records/texture.h"

namespace tlr2 {

using ByteVector = GrowingVector<std::uint8_t, 0x7FFFFFFF>;

inline constexpr std::size_t kStreamReserve = 4194304;
inline constexpr std::size_t kBlobReserve = 8388608;

/// What the pixels of a recorded upload became: the replay of the record shares the texels instead of making them
/// again. Valid for the bytes that stand in the blob.
struct ConvertedImage {
  std::uint64_t blobOffset, blobSize;
  std::uint32_t hash;  // of the record
  std::int32_t width, height;
  std::uint32_t format, type;
  TexelVector texels;  // the whole mip chain
};

struct CommandStream {
  ByteVector bytes;
  ByteVector blob;
  std::vector<ConvertedImage> images;  // in the order of the records; not all uploads have one
  std::uint32_t baseSequence = 0;      // the swaps carry it through; nothing else writes it
  bool fromCalls = false;  // records of calls that this process has made and has had the memory for, not a file's
};

/// The stream as built at load: with room for a normal frame.
struct ReservedStream : CommandStream {
  ReservedStream();
};
namespace detail {
extern ReservedStream commandStream;
}
/// The live stream that entries append to.
inline CommandStream& CommandStreamInstance() noexcept { return detail::commandStream; }

/// Appends a record of the command table, as made by its struct: AppendRecord(stream, CmdBegin{.mode = mode}).
template <typename Record>
inline void AppendRecord(CommandStream& stream, const Record& record) {
  std::memcpy(stream.bytes.GrowUninitialized(sizeof(Record)), static_cast<const void*>(&record), sizeof(Record));
}

/// Grows `bytes` by `size` zeroed bytes and returns the record's place. Valid until the next growth of `bytes`.
inline std::uint8_t* StreamAppend(CommandStream& stream, std::size_t size) {
  std::uint8_t* record = stream.bytes.GrowUninitialized(size);
  std::memset(record, 0, size);
  return record;
}

/// Keeps an image. Those that stand at or behind its place in the blob were of a stream that has been emptied.
inline void KeepImage(CommandStream& stream, ConvertedImage image) {
  while (!stream.images.empty() && stream.images.back().blobOffset >= image.blobOffset) stream.images.pop_back();
  stream.images.push_back(std::move(image));
}

/// Copies `size` bytes to the blob's end; returns their offset from the start of this frame's blob.
inline std::uint64_t BlobAppend(CommandStream& stream, const void* data, std::size_t size) {
  const std::size_t offset = stream.blob.size();
  stream.blob.append(static_cast<const std::uint8_t*>(data), size);
  return offset;
}

}  // namespace tlr2
