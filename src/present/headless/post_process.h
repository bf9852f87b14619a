// The colour adjustments of the shown picture on the processor: the pixel shader's arithmetic, step for step, for
// devices without a shader.
#pragma once

#include <cstddef>
#include <cstdint>

#include "present/postprocess.h"

namespace tlr2 {

/// Writes `count` adjusted pixels, 0xAARRGGBB; alpha stays. `source` and `out` do not overlap. With neutral constants
/// the pixels are copied, which is what the arithmetic gives for each of the 2^24 colours.
void PostProcessPixels(const PostProcessConstants& constants, const std::uint32_t* source, std::uint32_t* out,
                       std::size_t count) noexcept;

}  // namespace tlr2
