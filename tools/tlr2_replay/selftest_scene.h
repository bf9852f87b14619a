// A capture that is built in: a small scene that reaches every stage of the kernels.
#pragma once

#include "capture/reader.h"

namespace tlr2::tool {

inline constexpr std::uint32_t kSelftestFrames = 3;
CaptureContents MakeSelftestCapture();

}  // namespace tlr2::tool
