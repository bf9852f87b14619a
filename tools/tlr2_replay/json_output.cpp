// The JSON library's printer, over standard output.
#include "tlr2_replay/json_output.h"

#include <cstdio>
#include <nlohmann/json.hpp>

namespace tlr2::tool {

void WriteJson(const nlohmann::ordered_json& json) {
  const std::string text = json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
  std::fwrite(text.data(), 1, text.size(), stdout);
}

}  // namespace tlr2::tool
