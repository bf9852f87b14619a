// The per-frame texture cache: one flat record a texture name, rebuilt from nothing on every frame.
#pragma once

#include <vector>

#include "api/state/driver_state.h"

namespace tlr2 {

void BuildTextureCache(const DriverState& state, std::vector<TextureCacheEntry>& cache);

}  // namespace tlr2
