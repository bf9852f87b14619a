// Emission of a frame: packets to the triangle vector, on one thread or spread over the pool, with the same bytes.
#include "frame/emission.h"

#include <vector>

#include "frame/assembly.h"
#include "frame/packet_emission.h"
#include "platform/clock.h"
#include "settings/stage_counters.h"
#include "tiles/queue/render_job_queue.h"

namespace tlr2 {
namespace {

constexpr int kEmissionStage = 2;

/// The packets of one job.
struct PacketRange {
  std::size_t first, last;
};

/// Exact integer division, so the ranges meet without a gap.
PacketRange RangeOfJob(std::size_t packets, std::int32_t job, std::int32_t jobs) noexcept {
  const auto boundary = [packets, jobs](std::int32_t j) {
    return static_cast<std::size_t>(static_cast<std::uint64_t>(packets) * static_cast<std::uint32_t>(j) /
                                    static_cast<std::uint32_t>(jobs));
  };
  return {boundary(job), boundary(job + 1)};
}

std::size_t UnclippedCount(const GrowingVector<NativePacket>& packets, const PacketRange& range) noexcept {
  std::size_t count = 0;
  for (std::size_t i = range.first; i < range.last; ++i) {
    count += AssembledTriangleCount(packets[i].mode, packets[i].vertexCount);
  }
  return count;
}

/// A job's part of the frame's vector: as many records as its packets assemble to. What clipping adds beyond that goes
/// to the job's overflow. A cache line of its own.
struct alignas(64) EmitSlice {
  PacketRange range;
  std::size_t begin;  // index into the frame's vector
  std::size_t room;
  std::size_t used;
  std::size_t finalIndex;
  TriangleVector overflow;
};

struct SliceContext {
  const GrowingVector<NativePacket>* packets;
  const PacketVertex* frameVertices;
  TriangleRecord* triangles;
  EmitSlice* slices;
};

/// Kept between frames, so that a steady frame allocates nothing.
std::vector<EmitSlice> frameSlices;

void EmitSliceJob(std::int32_t job, void* argument) {
  const auto& context = *static_cast<const SliceContext*>(argument);
  EmitSlice& slice = context.slices[job];
  TriangleSink sink(context.triangles + slice.begin, slice.room, slice.overflow);
  for (std::size_t i = slice.range.first; i < slice.range.last; ++i) {
    EmitPacketInto((*context.packets)[i], context.frameVertices, sink);
  }
  slice.used = sink.Finish();
}

void MoveRecords(TriangleVector& triangles, std::size_t from, std::size_t to, std::size_t count) noexcept {
  if (from == to) return;
  std::memmove(static_cast<void*>(triangles.data() + to), triangles.data() + from, count * sizeof(TriangleRecord));
}

/// Closes the gaps between the slices and fits the overflows in. With nothing clipped or culled nothing moves.
void JoinSlices(TriangleVector& triangles, std::vector<EmitSlice>& slices) {
  std::size_t total = 0;
  for (EmitSlice& slice : slices) {
    slice.finalIndex = total;
    total += slice.used + slice.overflow.size();
  }
  if (total > triangles.size()) triangles.GrowUninitialized(total - triangles.size());
  // Slices that move up go first, from the last: their places end before the next slice's place, and that one has moved
  // up already or will move down. Then those that move down, from the first.
  for (std::size_t i = slices.size(); i-- != 0;) {
    const EmitSlice& slice = slices[i];
    if (slice.finalIndex > slice.begin) MoveRecords(triangles, slice.begin, slice.finalIndex, slice.used);
  }
  for (const EmitSlice& slice : slices) {
    if (slice.finalIndex < slice.begin) MoveRecords(triangles, slice.begin, slice.finalIndex, slice.used);
  }
  for (const EmitSlice& slice : slices) {
    if (slice.overflow.empty()) continue;
    std::memcpy(static_cast<void*>(triangles.data() + slice.finalIndex + slice.used), slice.overflow.data(),
                slice.overflow.size() * sizeof(TriangleRecord));
  }
  triangles.resize(total);
}

void EmitParallel(DriverState& state, std::int32_t jobs) {
  frameSlices.resize(static_cast<std::size_t>(jobs));
  std::size_t total = 0;
  for (std::int32_t job = 0; job < jobs; ++job) {
    EmitSlice& slice = frameSlices[static_cast<std::size_t>(job)];
    slice.range = RangeOfJob(state.packets.size(), job, jobs);
    slice.begin = total;
    slice.room = UnclippedCount(state.packets, slice.range);
    total += slice.room;
  }
  state.triangles.GrowUninitialized(total);
  SliceContext context = {&state.packets, state.packetVertices.data(), state.triangles.data(), frameSlices.data()};
  ParallelFor(jobs, EmitSliceJob, &context);
  JoinSlices(state.triangles, frameSlices);
}

}  // namespace

void EmitPacketRange(std::int32_t job, EmitJobContext* context) {
  const GrowingVector<NativePacket>& packets = *context->packets;
  const PacketRange range = RangeOfJob(packets.size(), job, context->jobCount);
  TriangleSink sink(context->output[job], UnclippedCount(packets, range));
  for (std::size_t i = range.first; i < range.last; ++i) EmitPacketInto(packets[i], context->frameVertices, sink);
  sink.Finish();
}

std::int32_t EmissionJobCount(bool allowParallel, std::size_t packets, std::size_t vertices) noexcept {
  // Below that many vertices the hand-out costs more than it saves.
  if (!allowParallel || vertices < kParallelEmissionVertices) return 1;
  const auto workers = static_cast<std::size_t>(ActiveWorkerCount());
  return static_cast<std::int32_t>(packets < workers ? packets : workers);
}

bool EmitTriangles(bool allowParallel) {
  DriverState& state = DriverStateInstance();
  state.triangles.clear();
  state.buildStats.packetCount = state.packets.size();
  state.buildStats.triangleCount = 0;
  if (state.packets.empty()) return true;

  const std::int64_t start = TicksNow();
  const std::int32_t jobs = EmissionJobCount(allowParallel, state.packets.size(), state.packetVertices.size());
  if (jobs >= 2) {
    EmitParallel(state, jobs);
  } else {
    EmitJobContext context = {&state.packets, state.packetVertices.data(), 1, &state.triangles};
    EmitPacketRange(0, &context);
  }
  const auto elapsed = static_cast<std::uint64_t>(TicksNow() - start);
  state.buildStats.triangleCount = state.triangles.size();
  state.buildStats.emissionTicks += elapsed;
  StageAdd(kEmissionStage, elapsed, 1);
  return true;
}

}  // namespace tlr2
