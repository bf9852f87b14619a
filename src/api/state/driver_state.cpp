// The process's driver state, live keyframe and command stream, in their order of construction, and the conversions
// between the driver state and its saved form.
#include "api/state/driver_state.h"

#include <algorithm>
#include <cstring>

#include "api/state/command_stream.h"
#include "api/state/keyframe.h"

namespace tlr2 {

// The only allocation of the load: a normal frame records without growing.
ReservedStream::ReservedStream() {
  bytes.reserve(kStreamReserve);
  blob.reserve(kBlobReserve);
}

// One file, so that the order holds; each is destroyed at process exit, the stream first.
namespace detail {
DriverState driverState;
static LiveKeyframe liveKeyframe;
ReservedStream commandStream;
}  // namespace detail

LiveKeyframe& LiveKeyframeInstance() noexcept { return detail::liveKeyframe; }

void SnapshotFromState(const DriverState& state, StateSnapshot& snapshot) noexcept {
  // The bytes after the matrices hold padding that goes to capture files: zero.
  constexpr std::size_t kTail = offsetof(StateSnapshot, matricesDirty);
  std::memset(reinterpret_cast<unsigned char*>(&snapshot) + kTail, 0, sizeof snapshot - kTail);
  snapshot.matrixMode = state.matrixMode;
  std::memcpy(snapshot.stackDepth, state.stackDepth, sizeof snapshot.stackDepth);
  std::memcpy(snapshot.matrixStacks, state.matrixStacks, sizeof snapshot.matrixStacks);
  std::memcpy(snapshot.combinedMatrix, state.combinedMatrix, sizeof snapshot.combinedMatrix);
  snapshot.matricesDirty = state.matricesDirty;
  std::memcpy(snapshot.viewport, state.viewport, sizeof snapshot.viewport);
  snapshot.fbWidth = state.fbWidth;
  snapshot.fbHeight = state.fbHeight;
  snapshot.microCols = state.microCols;
  snapshot.microRows = state.microRows;
  snapshot.macroCols = state.macroCols;
  snapshot.macroRows = state.macroRows;
  snapshot.clearColor = state.clearColor;
  snapshot.pendingColorClear = state.pendingColorClear;
  snapshot.pendingColorClearValue = state.pendingColorClearValue;
  snapshot.pendingDepthClear = state.pendingDepthClear;
  snapshot.pendingDepthClearValue = state.pendingDepthClearValue;
  snapshot.clearDepth = state.clearDepth;
  snapshot.currentColor = state.currentColor;
  snapshot.currentS = state.currentS;
  snapshot.currentT = state.currentT;
  snapshot.texture2DEnabled = state.texture2DEnabled;
  snapshot.boundTexture = state.boundTexture;
  snapshot.blendEnabled = state.blendEnabled;
  snapshot.blendSrc = state.blendSrc;
  snapshot.blendDst = state.blendDst;
  snapshot.alphaTestEnabled = state.alphaTestEnabled;
  snapshot.alphaFunc = state.alphaFunc;
  snapshot.alphaRef = state.alphaRef;
  snapshot.depthTestEnabled = state.depthTestEnabled;
  snapshot.depthMask = state.depthMask;
  snapshot.depthFunc = state.depthFunc;
  snapshot.depthNear = state.depthNear;
  snapshot.depthFar = state.depthFar;
  snapshot.texEnvMode = state.texEnvMode;
  snapshot.texEnvColor = state.texEnvColor;
  snapshot.cullEnabled = state.cullEnabled;
  snapshot.cullMode = state.cullMode;
  snapshot.frontFace = state.frontFace;
  snapshot.primitiveMode = state.primitiveMode;
}

void StateFromSnapshot(DriverState& state, const StateSnapshot& snapshot) noexcept {
  // Snapshots also come from files. These two index the stacks, so they are kept in range; what this driver saved is.
  state.matrixMode = std::clamp<std::int32_t>(snapshot.matrixMode, 0, kMatrixStacks - 1);
  for (int i = 0; i < kMatrixStacks; ++i) {
    state.stackDepth[i] = std::clamp<std::int32_t>(snapshot.stackDepth[i], 0, kMatrixDepth - 1);
  }
  std::memcpy(state.matrixStacks, snapshot.matrixStacks, sizeof state.matrixStacks);
  std::memcpy(state.combinedMatrix, snapshot.combinedMatrix, sizeof state.combinedMatrix);
  state.matricesDirty = snapshot.matricesDirty;
  std::memcpy(state.viewport, snapshot.viewport, sizeof state.viewport);
  state.fbWidth = snapshot.fbWidth;
  state.fbHeight = snapshot.fbHeight;
  state.microCols = snapshot.microCols;
  state.microRows = snapshot.microRows;
  state.macroCols = snapshot.macroCols;
  state.macroRows = snapshot.macroRows;
  state.clearColor = snapshot.clearColor;
  state.pendingColorClear = snapshot.pendingColorClear;
  state.pendingColorClearValue = snapshot.pendingColorClearValue;
  state.pendingDepthClear = snapshot.pendingDepthClear;
  state.pendingDepthClearValue = snapshot.pendingDepthClearValue;
  state.clearDepth = snapshot.clearDepth;
  state.currentColor = snapshot.currentColor;
  state.currentS = snapshot.currentS;
  state.currentT = snapshot.currentT;
  state.texture2DEnabled = snapshot.texture2DEnabled;
  state.boundTexture = snapshot.boundTexture;
  state.blendEnabled = snapshot.blendEnabled;
  state.blendSrc = snapshot.blendSrc;
  state.blendDst = snapshot.blendDst;
  state.alphaTestEnabled = snapshot.alphaTestEnabled;
  state.alphaFunc = snapshot.alphaFunc;
  state.alphaRef = snapshot.alphaRef;
  state.depthTestEnabled = snapshot.depthTestEnabled;
  state.depthMask = snapshot.depthMask;
  state.depthFunc = snapshot.depthFunc;
  state.depthNear = snapshot.depthNear;
  state.depthFar = snapshot.depthFar;
  state.texEnvMode = snapshot.texEnvMode;
  state.texEnvColor = snapshot.texEnvColor;
  state.cullEnabled = snapshot.cullEnabled;
  state.cullMode = snapshot.cullMode;
  state.frontFace = snapshot.frontFace;
  state.primitiveMode = snapshot.primitiveMode;
}

}  // namespace tlr2
