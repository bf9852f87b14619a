// The published names of the GL constants that records hold.
#pragma once

#include <cstdint>
#include <string>

namespace tlr2::tool {

/// What a constant stands for: small values mean different things in different places.
enum class NameGroup { kAny, kPrimitive, kBlendFactor };

/// "GL_MODELVIEW"; "0x1234" for a value without a name.
std::string GlName(std::uint32_t value, NameGroup group = NameGroup::kAny);
/// "GL_COLOR_BUFFER_BIT|GL_DEPTH_BUFFER_BIT"; unknown bits in hexadecimal; "0" for none.
std::string GlClearMask(std::uint32_t mask);

}  // namespace tlr2::tool
