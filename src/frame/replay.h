// From a frame's command stream to its triangles.
#pragma once

#include <cstdint>
#include <vector>

#include "api/state/command_stream.h"
#include "api/state/keyframe.h"

namespace tlr2 {

/// A frame's stream and keyframe, a value on the stack of the swap.
struct FrameJob {
  CommandStream stream;
  Keyframe keyframe;
};

/// Rewinds, interprets and emits, as far as the cutoff says.
bool ReplayFrame(CommandStream& stream, const Keyframe* keyframe, bool allowParallel);
/// Walks the stream and applies each record to the driver state.
void StreamInterpreter(CommandStream& stream);
/// The work of the End record: builds and appends the packet of the open primitive.
void FlushPrimitive();

/// Hands the job to the replay thread and waits; replays inline if there is none.
bool RunFrameBuild(FrameJob& job, bool allowParallel);
/// The form without recording: the live stream on the calling thread, from a keyframe built here.
bool RunFrameBuildInline(bool allowParallel);
/// Called at library load and unload.
bool StartReplayThread() noexcept;
void StopReplayThread() noexcept;

/// Six words: what a validity walk counts. Sizes are 0 after a failure.
struct StreamSummary {
  std::uint32_t records, vertices, begins, frameEnds, streamBytes, blobBytes;
};
bool ScanStream(const CommandStream& stream, StreamSummary* summary) noexcept;

struct FrameIndexEntry {
  std::uint32_t serial, mode, firstVertex, vertexCount;
};
struct FrameIndex {
  std::vector<FrameIndexEntry> primitives;
  std::uint32_t vertexTotal = 0;
  std::uint32_t nextSerial = 0;
  bool wellFormed = true;
};
bool ScanFrames(const CommandStream& stream, FrameIndex& index);

}  // namespace tlr2
