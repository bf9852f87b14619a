// Loading a capture: sizes against the file first, then the reader, then what the driver could not bear.
#include "tlr2_replay/load.h"

#include "capture/validate.h"
#include "tlr2_replay/command.h"

namespace tlr2::tool {

CaptureContents LoadCapture(const std::string& path) {
  CaptureContents contents;
  const char* error = nullptr;
  if (!ReadCapture(path.c_str(), contents, &error)) throw CommandFailure{kRefused, path + ": " + error};
  if (const std::string fault = ValidateCapture(contents); !fault.empty()) {
    throw CommandFailure{kRefused, path + ": " + fault};
  }
  return contents;
}

}  // namespace tlr2::tool
