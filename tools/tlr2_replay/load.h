// The one way from a file to a capture that may be given to the driver.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "capture/format.h"
#include "capture/reader.h"

namespace tlr2::tool {

/// Reads and validates. Fails the command with exit code 3 and the reader's or the check's own message.
CaptureContents LoadCapture(const std::string& path);

/// The header of a file that begins as a capture does, of whatever version; also the file's size, 0 where it cannot be
/// read.
std::optional<CaptureHeader> PeekHeader(const std::string& path, std::uint64_t& fileBytes);
/// What is wrong when the blob table's sizes add up to more than the file has: payloads that overlap would make a small
/// file take any amount of memory. Empty otherwise; other faults are left to the reader.
std::string BlobSizeFault(const std::string& path);
/// Fails the command with exit code 3 for such a fault.
void CheckBlobSizes(const std::string& path);

}  // namespace tlr2::tool
