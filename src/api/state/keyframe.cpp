// Taking, building and applying keyframes. Textures are saved on their first change in a frame, so a frame without
// changes costs one snapshot and no texture copy.
#include "api/state/keyframe.h"

#include "platform/thread_block.h"
#include "settings/settings.h"
#include "tiles/grid/grid.h"

namespace tlr2 {
namespace {

/// The texture table as it stood at the keyframe.
void RewindTextures(DriverState& state, const Keyframe& keyframe) {
  std::vector<TextureObject>& table = state.textureTable;
  SlotBecameFree(state, table.empty() ? 1 : table.size());  // of a table that grows
  table.resize(keyframe.textureCount);
  for (std::size_t i = 0; i < keyframe.pendingIds.size() && i < keyframe.pendingRecords.size(); ++i) {
    const std::uint32_t name = keyframe.pendingIds[i];
    if (name >= table.size()) continue;
    table[name] = keyframe.pendingRecords[i];
    if (table[name].inUse == 0) SlotBecameFree(state, name);
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
  RewindTextures(state, keyframe);
  RestoreTileGrid(state);
}

bool CaptureBaseline(DriverState& temp, StateSnapshot& out) {
  const DriverState& state = DriverStateInstance();
  const LiveKeyframe& live = LiveKeyframeInstance();
  if (&temp != &state) {
    temp.textureTable = state.textureTable;
    temp.lowestFreeTexture = state.lowestFreeTexture;
  }
  if (live.valid != 0) {
    RewindTextures(temp, live);
    out = live.snapshot;
    return true;
  }
  SnapshotFromState(state, out);
  return false;
}

}  // namespace tlr2
