// Limits that keep a fuzzer's inputs fast.
#pragma once

#include "capture/validate.h"

namespace tlr2::test {

inline constexpr CaptureLimits kFuzzLimits = {
    .surfaceAxis = 512, .surfacePixels = 256 * 256, .textureNames = 4096, .texelBytes = 1u << 20};

}  // namespace tlr2::test
