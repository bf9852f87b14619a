// Deduplication by size and CRC, decided by the bytes.
#include "capture/blob_list.h"

#include <cstring>

#include "capture/crc32.h"

namespace tlr2 {

std::uint32_t BlobList::Add(std::uint32_t kind, const void* data, std::uint64_t size) {
  if (data == nullptr || size == 0) return kNoBlob;
  const auto* bytes = static_cast<const std::uint8_t*>(data);
  const std::uint32_t crc = Crc32(bytes, static_cast<std::size_t>(size));
  const std::uint64_t key = size << 32 ^ crc;
  const auto [first, last] = bySizeAndCrc.equal_range(key);
  for (auto candidate = first; candidate != last; ++candidate) {
    const CaptureBlob& blob = table[candidate->second];
    if (blob.kind == kind && blob.size == size &&
        std::memcmp(payloads[candidate->second].data(), bytes, static_cast<std::size_t>(size)) == 0) {
      return candidate->second;
    }
  }
  const auto index = static_cast<std::uint32_t>(table.size());
  table.push_back({kind, crc, size, 0});
  payloads.emplace_back(bytes, bytes + size);
  bySizeAndCrc.emplace(key, index);
  return index;
}

}  // namespace tlr2
