// Emission of a frame: packets to the triangle vector, on one thread or spread over the pool, with the same bytes.
#include "frame/emission.h"

#include <vector>

#include "frame/assembly.h"
#include "frame/transform.h"
#include "platform/clock.h"
#include "settings/stage_counters.h"
#include "tiles/queue/render_job_queue.h"

namespace tlr2 {
namespace {

constexpr int kEmissionStage = 2;
constexpr std::size_t kMostPerTriangle = kClipOutputLimit - 2;  // a fan of the greatest polygon

/// First packet of `job`; exact integer division, so the ranges meet without a gap.
std::size_t FirstPacket(std::size_t packets, std::int32_t job, std::int32_t jobs) noexcept {
  return static_cast<std::size_t>(static_cast<std::uint64_t>(packets) * static_cast<std::uint32_t>(job) /
                                  static_cast<std::uint32_t>(jobs));
}

void RunEmitJob(std::int32_t job, void* context) { EmitPacketRange(job, static_cast<EmitJobContext*>(context)); }

}  // namespace

void EmitPacketRange(std::int32_t job, EmitJobContext* context) {
  const GrowingVector<NativePacket>& packets = *context->packets;
  const std::size_t first = FirstPacket(packets.size(), job, context->jobCount);
  const std::size_t last = FirstPacket(packets.size(), job + 1, context->jobCount);
  TriangleVector& output = context->output[job];

  std::size_t unclipped = 0;
  for (std::size_t i = first; i < last; ++i) {
    unclipped += AssembledTriangleCount(packets[i].mode, packets[i].vertexCount);
  }
  // What assembly yields unclipped; clipping that adds more grows from there, by half.
  std::size_t used = output.size();
  output.GrowUninitialized(unclipped + kMostPerTriangle);
  for (std::size_t i = first; i < last; ++i) {
    const NativePacket& packet = packets[i];
    const PacketVertex* vertices = context->frameVertices + packet.firstVertex;
    ForEachAssembledTriangle(packet.mode, packet.vertexCount, [&](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
      if (output.size() - used < kMostPerTriangle) [[unlikely]] {
        output.GrowUninitialized(output.size() / 2 + kMostPerTriangle);
      }
      used += EmitAssembledTriangle(packet, vertices + a, vertices + b, vertices + c, output.data() + used);
    });
  }
  output.resize(used);
}

bool EmitTriangles(bool allowParallel) {
  DriverState& state = DriverStateInstance();
  state.triangles.clear();
  state.buildStats.packetCount = state.packets.size();
  state.buildStats.triangleCount = 0;
  if (state.packets.empty()) return true;

  const std::int64_t start = TicksNow();
  const std::int32_t workers = ActiveWorkerCount();
  const auto jobs = static_cast<std::int32_t>(state.packets.size() < static_cast<std::size_t>(workers)
                                                  ? state.packets.size()
                                                  : static_cast<std::size_t>(workers));
  EmitJobContext context = {&state.packets, state.packetVertices.data(), 1, &state.triangles};
  if (allowParallel && jobs >= 2 && state.packetVertices.size() >= kParallelEmissionVertices) {
    std::vector<TriangleVector> outputs(static_cast<std::size_t>(jobs));
    context.jobCount = jobs;
    context.output = outputs.data();
    ParallelFor(jobs, RunEmitJob, &context);
    for (const TriangleVector& output : outputs) state.triangles.append(output.data(), output.size());
  } else {
    EmitPacketRange(0, &context);
  }

  const auto elapsed = static_cast<std::uint64_t>(TicksNow() - start);
  state.buildStats.triangleCount = state.triangles.size();
  state.buildStats.emissionTicks += elapsed;
  StageAdd(kEmissionStage, elapsed, 1);
  return true;
}

}  // namespace tlr2
