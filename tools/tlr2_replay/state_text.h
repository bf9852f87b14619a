// The driver state as named values, for people and for JSON.
#pragma once

#include <nlohmann/json.hpp>

#include "api/state/driver_state.h"

namespace tlr2::tool {

/// Every scalar of the state, the matrices in use, and the textures with a hash of their texels. Constants by name,
/// colours as 0xAARRGGBB.
nlohmann::ordered_json DescribeState(const DriverState& state);
/// A float as a JSON number; what is no number as text.
nlohmann::ordered_json JsonFloat(float value);
/// "name = value" lines, nested names joined by dots.
std::string StateLines(const nlohmann::ordered_json& state);

struct StateChange {
  std::string name;
  nlohmann::ordered_json before, after;  // null where the name does not exist
};
/// What differs, in the order of the state.
std::vector<StateChange> CompareStates(const nlohmann::ordered_json& before, const nlohmann::ordered_json& after);

}  // namespace tlr2::tool
