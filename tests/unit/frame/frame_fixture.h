// A fresh driver state and built-in settings for each test.
#pragma once

#include <gtest/gtest.h>

#include <cstring>

#include "api/state/driver_state.h"
#include "api/state/keyframe.h"
#include "frame/replay.h"
#include "settings/settings.h"
#include "stream_builder.h"

namespace frame_test {

inline void ResetSettings() {
  tlr2::DriverSettings& s = tlr2::Settings();
  s.forceFilter = 0;
  s.disableBlend = 0;
  s.disableFaceCull = 0;
  s.disableHiZ = 0;
  s.disableAlphaTest = 0;
  s.disableDepthTest = 0;
  s.forceDepthFunc = 0;
  s.workerLimit = 0;
  s.pipelineCutoff = 5;
}

class Frame : public ::testing::Test {
 protected:
  Frame() : state(tlr2::DriverStateInstance()) {
    state = tlr2::DriverState();
    ResetSettings();
  }
  ~Frame() override {
    state = tlr2::DriverState();
    ResetSettings();
  }
  /// A state in which object coordinates are clip coordinates.
  void UseIdentity() {
    for (auto& stack : state.matrixStacks) {
      for (int i = 0; i < 16; ++i) stack[0][i] = i % 5 == 0 ? 1.0f : 0.0f;
    }
  }
  bool Replay(StreamBuilder& built) { return tlr2::ReplayFrame(built.stream, nullptr, false); }

  tlr2::DriverState& state;
  StreamBuilder builder;
};

/// Bit for bit, floats included.
template <typename T>
bool SameBytes(const T& a, const T& b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

}  // namespace frame_test
