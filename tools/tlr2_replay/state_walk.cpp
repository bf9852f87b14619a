// Walking a capture's state: the keyframe restored, then the interpreter, frame after frame. What the frame boundary
// does besides leaves the state's scalars and textures alone.
#include "tlr2_replay/state_walk.h"

#include "api/state/keyframe.h"
#include "capture/record_walk.h"
#include "frame/replay.h"
#include "tlr2_replay/console.h"

namespace tlr2::tool {
namespace {

/// The primitive that is open does not outlive its frame.
void EmptyFrame(DriverState& state) noexcept {
  state.vertices.clear();
  state.packetVertices.clear();
  state.packets.clear();
  state.packetSequence = 0;
}

}  // namespace

StateWalk::StateWalk(CaptureContents& capture) : capture_(capture) {
  Keyframe keyframe;
  keyframe.snapshot = capture.snapshot;
  keyframe.textureCount = static_cast<std::uint32_t>(capture.textures.size());
  keyframe.valid = 1;
  DriverStateInstance() = DriverState();
  ApplyKeyframe(keyframe);
  DriverStateInstance().textureTable = capture.textures;
}

void StateWalk::Run(std::size_t bytes) {
  DriverState& state = DriverStateInstance();
  EmptyFrame(state);
  CommandStream stream;
  stream.bytes.Swap(capture_.streams[frame_]);
  stream.blob.Swap(capture_.blobs[frame_]);
  const std::size_t all = stream.bytes.size();
  stream.bytes.resize(bytes);
  StreamInterpreter(stream);
  stream.bytes.GrowUninitialized(all - bytes);  // the end moves back: the bytes are still there
  stream.bytes.Swap(capture_.streams[frame_]);
  stream.blob.Swap(capture_.blobs[frame_]);
}

void StateWalk::RunFrame() {
  Run(capture_.streams[frame_].size());
  ++frame_;
}

void StateWalk::ToFrame(std::uint32_t frame) {
  Progress progress("frames", frame);
  while (frame_ < frame) {
    StopIfInterrupted();
    RunFrame();
    progress.Show(frame_);
  }
  EmptyFrame(DriverStateInstance());
}

void StateWalk::RunRecords(std::uint32_t records) {
  std::size_t bytes = 0;
  RecordWalk walk(capture_.streams[frame_]);
  for (std::uint32_t i = 0; i < records && walk.Next(); ++i) bytes += walk.size();
  Run(bytes);
}

}  // namespace tlr2::tool
