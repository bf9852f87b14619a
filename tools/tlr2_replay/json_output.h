// JSON on standard output.
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace tlr2::tool {

/// Indented, with a line's end. Bytes that are no UTF-8, as file names may have, become U+FFFD.
void WriteJson(const nlohmann::ordered_json& json);

}  // namespace tlr2::tool
