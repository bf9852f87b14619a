// The payloads of a capture, each distinct one once.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "capture/format.h"

namespace tlr2 {

struct BlobList {
  std::vector<CaptureBlob> table;                   // offsets are assigned when the table is written
  std::vector<std::vector<std::uint8_t>> payloads;  // parallel to `table`
  std::unordered_multimap<std::uint64_t, std::uint32_t> bySizeAndCrc;

  /// Index of the blob with these bytes and kind, added if there is none; kNoBlob for an empty payload.
  std::uint32_t Add(std::uint32_t kind, const void* data, std::uint64_t size);
};

}  // namespace tlr2
