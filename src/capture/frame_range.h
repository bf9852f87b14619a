// Frame ranges as the environment spells them: "N" or "N-M".
#pragma once

#include <cstdint>

namespace tlr2 {

/// N is the leading integer of the text, M that after the first minus sign; M = N without one. False for N below 0 or
/// M below N. A text without digits means frame 0.
bool ParseFrameRange(const char* text, std::int32_t& first, std::int32_t& last) noexcept;

}  // namespace tlr2
