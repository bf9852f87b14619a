// A frame's build: rewind to the keyframe, interpret, emit, as far as the cutoff says.
#include "frame/replay.h"

#include "frame/emission.h"
#include "settings/settings.h"

namespace tlr2 {

bool ReplayFrame(CommandStream& stream, const Keyframe* keyframe, bool allowParallel) {
  if (keyframe != nullptr) ApplyKeyframe(*keyframe);
  DriverState& state = DriverStateInstance();
  state.triangles.clear();
  state.vertices.clear();
  state.packetVertices.clear();
  state.packets.clear();
  state.buildStats = {};
  state.packetSequence = 0;
  if (Settings().pipelineCutoff == 0) return true;
  StreamInterpreter(stream);
  if (Settings().pipelineCutoff == 1) return true;
  return EmitTriangles(allowParallel);
}

}  // namespace tlr2
