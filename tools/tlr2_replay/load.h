// The one way from a file to a capture that may be given to the driver.
#pragma once

#include <string>

#include "capture/reader.h"

namespace tlr2::tool {

/// Reads and validates. Fails the command with exit code 3 and the reader's or the check's own message.
CaptureContents LoadCapture(const std::string& path);

}  // namespace tlr2::tool
