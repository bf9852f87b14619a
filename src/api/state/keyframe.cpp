// Taking, building and applying keyframes. Textures are saved on their first change in a frame, so a frame without
// changes costs one snapshot and no texture copy.
#include "api/state/keyframe.h"

#include "platform/thread_block.h"
#include "settings/settings.h"
#include "tiles/grid/grid.h"

namespace tlr2 {
namespace {

void PutBack(std::vector<TextureObject>& table, const Keyframe& keyframe) {
  for (std::size_t i = 0; i < keyframe.pendingIds.size() && i < keyframe.pendingRecords.size(); ++i) {
    if (keyframe.pendingIds[i] < table.size()) table[keyframe.pendingIds[i]] = keyframe.pendingRecords[i];
  }
}

}  // namespace

void TakeKeyframe() {
  const DriverState& state = DriverStateInstance();
  LiveKeyframe& live = LiveKeyframeInstance();
  SnapshotFromState(state, live.snapshot);
  live.textureCount = static_cast<std::uint32_t>(state.textureTable.size());
  live.pendingIds.clear();
  live.pendingRecords.clear();
  live.touched.assign(live.textureCount, 0);
  live.valid = 1;
}

void TouchTexture(std::uint32_t name) {
  if (CurrentThreadGuard().suppress || !RecordingEnabled()) return;
  LiveKeyframe& live = LiveKeyframeInstance();
  const DriverState& state = DriverStateInstance();
  if (name >= live.textureCount) return;  // younger than the keyframe
  if (name >= state.textureTable.size()) return;
  if (live.touched.size() < live.textureCount) live.touched.resize(live.textureCount);
  if (live.touched[name] != 0) return;
  live.touched[name] = 1;
  live.pendingIds.push_back(name);
  live.pendingRecords.push_back(state.textureTable[name]);
}

void BuildKeyframe(Keyframe& out) {
  const LiveKeyframe& live = LiveKeyframeInstance();
  if (live.valid != 0) {
    out = static_cast<const Keyframe&>(live);
    out.valid = 1;
    return;
  }
  const DriverState& state = DriverStateInstance();
  SnapshotFromState(state, out.snapshot);
  out.textureCount = static_cast<std::uint32_t>(state.textureTable.size());
  out.pendingIds.clear();
  out.pendingRecords.clear();
  out.valid = 0;
}

void ApplyKeyframe(const Keyframe& keyframe) {
  if (keyframe.valid == 0) return;
  DriverState& state = DriverStateInstance();
  StateFromSnapshot(state, keyframe.snapshot);
  state.textureTable.resize(keyframe.textureCount);
  PutBack(state.textureTable, keyframe);
  RestoreTileGrid(state);
}

bool CaptureBaseline(DriverState& temp, StateSnapshot& out) {
  const DriverState& state = DriverStateInstance();
  const LiveKeyframe& live = LiveKeyframeInstance();
  if (live.valid != 0) {
    if (&temp != &state) temp.textureTable = state.textureTable;
    temp.textureTable.resize(live.textureCount);
    PutBack(temp.textureTable, live);
    out = live.snapshot;
    return true;
  }
  if (&temp != &state) temp.textureTable = state.textureTable;
  SnapshotFromState(state, out);
  return false;
}

}  // namespace tlr2
