// Programs that are captured through the exported functions, in the process of the test.
#pragma once

#include <cstdint>
#include <functional>

#include "capture/reader.h"

namespace tlr2::test {

/// Draws and swaps; `window` is current, with identity matrices and a full viewport of `kProgramWidth` by
/// `kProgramHeight`.
using Program = std::function<void(void* window)>;
inline constexpr int kProgramWidth = 320, kProgramHeight = 240;

/// Runs `program` in a driver that has just started, on target `isa`, and gives back the capture of its frames `first`
/// to `last` with reference pixels.
CaptureContents CaptureProgram(int isa, std::int32_t first, std::int32_t last, const Program& program);

/// Frames of random calls from one number alone. With `clears`, every frame begins with a clear of colour and depth;
/// without, frames clear what chance has it.
Program RandomProgram(std::uint32_t seed, int frames, bool clears);

}  // namespace tlr2::test
