// The snapshot as bytes: each field at its offset, padding zero, and both conversions.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>

#include "api/state/driver_state.h"

namespace tlr2 {
namespace {

std::uint32_t WordAt(const StateSnapshot& snapshot, std::size_t offset) {
  std::uint32_t word;
  std::memcpy(&word, reinterpret_cast<const std::uint8_t*>(&snapshot) + offset, 4);
  return word;
}

float FloatAt(const StateSnapshot& snapshot, std::size_t offset) {
  float value;
  std::memcpy(&value, reinterpret_cast<const std::uint8_t*>(&snapshot) + offset, 4);
  return value;
}

TEST(Snapshot, EachFieldStandsAtItsOffset) {
  auto owned = std::make_unique<DriverState>();
  DriverState& state = *owned;
  state.matrixMode = 2;
  state.stackDepth[0] = 1;
  state.stackDepth[1] = 2;
  state.stackDepth[2] = 3;
  state.matrixStacks[0][0][0] = 4;
  state.matrixStacks[1][0][0] = 5;
  state.matrixStacks[2][31][15] = 6;
  state.combinedMatrix[0] = 7;
  state.combinedMatrix[15] = 8;
  state.matricesDirty = 9;
  for (int i = 0; i < 4; ++i) state.viewport[i] = 10 + i;
  state.fbWidth = 14;
  state.fbHeight = 15;
  state.microCols = 16;
  state.microRows = 17;
  state.macroCols = 18;
  state.macroRows = 19;
  state.clearColor = 20;
  state.pendingColorClear = 21;
  state.pendingColorClearValue = 22;
  state.pendingDepthClear = 23;
  state.pendingDepthClearValue = 24;
  state.clearDepth = 25;
  state.currentColor = 26;
  state.currentS = 27;
  state.currentT = 28;
  state.texture2DEnabled = 29;
  state.boundTexture = 30;
  state.blendEnabled = 31;
  state.blendSrc = 32;
  state.blendDst = 33;
  state.alphaTestEnabled = 34;
  state.alphaFunc = 35;
  state.alphaRef = 36;
  state.depthTestEnabled = 37;
  state.depthMask = 38;
  state.depthFunc = 39;
  state.depthNear = 40;
  state.depthFar = 41;
  state.texEnvMode = 42;
  state.texEnvColor = 43;
  state.cullEnabled = 44;
  state.cullMode = 45;
  state.frontFace = 46;
  state.primitiveMode = 47;

  StateSnapshot snapshot;
  std::memset(&snapshot, 0xEE, sizeof snapshot);
  SnapshotFromState(state, snapshot);
  EXPECT_EQ(WordAt(snapshot, 0), 2u);
  EXPECT_EQ(WordAt(snapshot, 4), 1u);
  EXPECT_EQ(WordAt(snapshot, 12), 3u);
  EXPECT_EQ(FloatAt(snapshot, 16), 4.0f);
  EXPECT_EQ(FloatAt(snapshot, 16 + 2048), 5.0f);
  EXPECT_EQ(FloatAt(snapshot, 16 + 6144 - 4), 6.0f);
  EXPECT_EQ(FloatAt(snapshot, 6160), 7.0f);
  EXPECT_EQ(FloatAt(snapshot, 6220), 8.0f);
  EXPECT_EQ(WordAt(snapshot, 6224), 9u) << "one byte, three of zero padding";
  for (std::uint32_t i = 0; i < 11; ++i) EXPECT_EQ(WordAt(snapshot, 6228 + 4 * i), 10 + i);
  EXPECT_EQ(WordAt(snapshot, 6272), 21u);
  EXPECT_EQ(WordAt(snapshot, 6276), 22u);
  EXPECT_EQ(WordAt(snapshot, 6280), 23u);
  EXPECT_EQ(FloatAt(snapshot, 6284), 24.0f);
  EXPECT_EQ(FloatAt(snapshot, 6288), 25.0f);
  EXPECT_EQ(WordAt(snapshot, 6292), 26u);
  EXPECT_EQ(FloatAt(snapshot, 6296), 27.0f);
  EXPECT_EQ(FloatAt(snapshot, 6300), 28.0f);
  for (std::uint32_t i = 0; i < 7; ++i) EXPECT_EQ(WordAt(snapshot, 6304 + 4 * i), 29 + i);
  EXPECT_EQ(FloatAt(snapshot, 6332), 36.0f);
  EXPECT_EQ(WordAt(snapshot, 6336), 37u | 38u << 8) << "two bytes, two of zero padding";
  EXPECT_EQ(WordAt(snapshot, 6340), 39u);
  EXPECT_EQ(FloatAt(snapshot, 6344), 40.0f);
  EXPECT_EQ(FloatAt(snapshot, 6348), 41.0f);
  for (std::uint32_t i = 0; i < 6; ++i) EXPECT_EQ(WordAt(snapshot, 6352 + 4 * i), 42 + i);
}

TEST(Snapshot, RoundTripKeepsEveryByteOfAValidOne) {
  std::mt19937 random(12);
  StateSnapshot first;
  auto* bytes = reinterpret_cast<std::uint8_t*>(&first);
  for (std::size_t i = 0; i < sizeof first; ++i) bytes[i] = static_cast<std::uint8_t>(random());
  first.matrixMode = 2;
  for (int i = 0; i < 3; ++i) first.stackDepth[i] = 31 - i;
  for (auto* pad : {first.pad0, first.pad1, first.pad2, first.pad3, first.pad4, first.pad5, first.pad7}) {
    std::memset(pad, 0, 3);
  }
  std::memset(first.pad6, 0, 2);
  auto state = std::make_unique<DriverState>();
  StateFromSnapshot(*state, first);
  StateSnapshot second;
  SnapshotFromState(*state, second);
  EXPECT_EQ(std::memcmp(&first, &second, sizeof first), 0);
}

TEST(Snapshot, DefaultsAreThoseOfAFreshDriver) {
  const auto state = std::make_unique<DriverState>();
  StateSnapshot snapshot;
  SnapshotFromState(*state, snapshot);
  for (std::size_t offset = 0; offset < 6224; offset += 4) ASSERT_EQ(WordAt(snapshot, offset), 0u) << offset;
  EXPECT_EQ(WordAt(snapshot, 6224), 1u);
  EXPECT_EQ(WordAt(snapshot, 6268), 0xFF000000u);
  EXPECT_EQ(WordAt(snapshot, 6276), 0xFF000000u);
  EXPECT_EQ(FloatAt(snapshot, 6284), 1.0f);
  EXPECT_EQ(FloatAt(snapshot, 6288), 1.0f);
  EXPECT_EQ(WordAt(snapshot, 6292), 0xFFFFFFFFu);
  EXPECT_EQ(WordAt(snapshot, 6316), 1u);
  EXPECT_EQ(WordAt(snapshot, 6320), 0u);
  EXPECT_EQ(WordAt(snapshot, 6328), 0x0207u);
  EXPECT_EQ(WordAt(snapshot, 6336), 0x0100u);
  EXPECT_EQ(WordAt(snapshot, 6340), 0x0201u);
  EXPECT_EQ(FloatAt(snapshot, 6348), 1.0f);
  EXPECT_EQ(WordAt(snapshot, 6352), 0x2100u);
  EXPECT_EQ(WordAt(snapshot, 6364), 0x0405u);
  EXPECT_EQ(WordAt(snapshot, 6368), 0x0901u);
}

TEST(Snapshot, ConversionsTouchNoVector) {
  auto state = std::make_unique<DriverState>();
  state->vertices.push_back({});
  state->textureTable.resize(3);
  StateSnapshot snapshot;
  SnapshotFromState(*state, snapshot);
  StateFromSnapshot(*state, snapshot);
  EXPECT_EQ(state->vertices.size(), 1u);
  EXPECT_EQ(state->textureTable.size(), 3u);
}

TEST(Snapshot, DamagedStackIndicesAreKeptInRange) {
  StateSnapshot snapshot = {};
  snapshot.matrixMode = -7;
  snapshot.stackDepth[0] = 1000;
  snapshot.stackDepth[1] = -1;
  auto state = std::make_unique<DriverState>();
  StateFromSnapshot(*state, snapshot);
  EXPECT_EQ(state->matrixMode, 0);
  EXPECT_EQ(state->stackDepth[0], 31);
  EXPECT_EQ(state->stackDepth[1], 0);
}

}  // namespace
}  // namespace tlr2
