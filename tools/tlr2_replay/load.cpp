// Loading a capture: sizes against the file first, then the reader, then what the driver could not bear.
#define _FILE_OFFSET_BITS 64  // NOLINT(bugprone-reserved-identifier): captures pass 2 GiB, also in 32-bit processes
#include "tlr2_replay/load.h"

#include <cstdio>
#include <memory>

#include "capture/validate.h"
#include "tlr2_replay/command.h"
#include "tlr2_replay/console.h"

namespace tlr2::tool {
namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File OpenForReading(const std::string& path) noexcept { return {std::fopen(path.c_str(), "rb"), std::fclose}; }

std::uint64_t SizeOf(std::FILE* file) noexcept {
  if (fseeko(file, 0, SEEK_END) != 0) return 0;
  const auto size = ftello(file);
  return size < 0 ? 0 : static_cast<std::uint64_t>(size);
}

}  // namespace

std::optional<CaptureHeader> PeekHeader(const std::string& path, std::uint64_t& fileBytes) {
  fileBytes = 0;
  const File file = OpenForReading(path);
  if (file == nullptr) return std::nullopt;
  fileBytes = SizeOf(file.get());
  CaptureHeader header;
  if (!SeekTo(file.get(), 0) || !ReadBytes(file.get(), &header, sizeof header)) {
    if (std::ferror(file.get()) != 0) fileBytes = 0;  // a folder, which has no bytes
    return std::nullopt;
  }
  if (header.magic0 != kCaptureMagic0 || header.magic1 != kCaptureMagic1) return std::nullopt;
  return header;
}

std::string BlobSizeFault(const std::string& path) {
  std::uint64_t fileBytes = 0;
  const std::optional<CaptureHeader> header = PeekHeader(path, fileBytes);
  // The reader has messages for all that ends the work here.
  if (!header || header->version != kCaptureVersion || header->layoutHash != kCaptureLayoutHash) return {};
  const File file = OpenForReading(path);
  if (file == nullptr || !SeekTo(file.get(), header->blobTableOffset)) return {};
  std::uint64_t total = 0;
  for (std::uint32_t i = 0; i < header->blobCount; ++i) {
    CaptureBlob blob;
    if (!ReadBytes(file.get(), &blob, sizeof blob) || blob.size > fileBytes) return {};
    total += blob.size;
    if (total > fileBytes) {
      return Format("the blobs' sizes add up to more than the file's %llu bytes",
                    static_cast<unsigned long long>(fileBytes));
    }
  }
  return {};
}

void CheckBlobSizes(const std::string& path) {
  if (const std::string fault = BlobSizeFault(path); !fault.empty()) {
    throw CommandFailure{kRefused, path + ": " + fault};
  }
}

CaptureContents LoadCapture(const std::string& path) {
  CheckBlobSizes(path);
  CaptureContents contents;
  const char* error = nullptr;
  if (!ReadCapture(path.c_str(), contents, &error)) throw CommandFailure{kRefused, path + ": " + error};
  if (const std::string fault = ValidateCapture(contents); !fault.empty()) {
    throw CommandFailure{kRefused, path + ": " + fault};
  }
  return contents;
}

}  // namespace tlr2::tool
