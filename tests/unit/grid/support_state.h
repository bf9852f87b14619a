// Records for the grid's tests.
#pragma once

#include "records/driver_state.h"

namespace tlr2::test {

inline TriangleRecord Triangle(std::uint32_t textureIndex) {
  TriangleRecord record = {};
  record.textureIndex = textureIndex;
  return record;
}

}  // namespace tlr2::test
