// Fuzz target: any bytes as a capture file, through the reader, the checks and, when both let it pass, a walk of its
// state.
#include <cstddef>
#include <cstdint>

#include "fuzz_limits.h"
#include "memory_file.h"
#include "tlr2_replay/state_walk.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tlr2;
  const test::MemoryFile file(data, size);
  CaptureContents contents;
  const char* error = nullptr;
  if (!ReadCapture(file.path(), contents, &error)) {
    if (error == nullptr || error != LastCaptureError()) __builtin_trap();
    return 0;
  }
  // Nothing may be larger than the file: overlapping payloads are the tools' own check.
  if (contents.streamBytes + contents.frameBlobBytes > size) __builtin_trap();
  if (!ValidateCapture(contents, test::kFuzzLimits).empty()) return 0;
  tool::StateWalk walk(contents);
  walk.ToFrame(static_cast<std::uint32_t>(contents.streams.size()));
  return 0;
}
