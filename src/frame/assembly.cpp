// The per-triangle form of emission: transform, clip, fan, set up. Emission of whole frames gives the same records from
// vertices prepared in bulk; this form counts, times its stages, and is what the other is held against.
#include "frame/assembly.h"

#include "frame/emission.h"
#include "frame/transform.h"
#include "platform/clock.h"
#include "settings/stage_counters.h"

namespace tlr2 {
namespace {

constexpr int kTransformStage = 3, kClipStage = 4, kSetupStage = 5;

ClipVertex ToClipSpace(const NativePacket& packet, const PacketVertex& vertex) noexcept {
  const float position[3] = {vertex.x, vertex.y, vertex.z};
  float clip[4];
  TransformPoint(packet.mvp, position, clip);
  return {clip[0], clip[1], clip[2], clip[3], vertex.color, vertex.s, vertex.t};
}

/// Adds the ticks since `start` to `stage` and restarts.
void CloseStage(int stage, std::int64_t& start) noexcept {
  const std::int64_t now = TicksNow();
  StageAdd(stage, static_cast<std::uint64_t>(now - start), 1);
  start = now;
}

}  // namespace

std::uint32_t EmitAssembledTriangle(const NativePacket& packet, const PacketVertex* a, const PacketVertex* b,
                                    const PacketVertex* c, TriangleRecord* out) {
  const bool timed = StageTimingEnabled();
  std::int64_t start = timed ? TicksNow() : 0;

  const ClipVertex triangle[3] = {ToClipSpace(packet, *a), ToClipSpace(packet, *b), ToClipSpace(packet, *c)};
  if (timed) CloseStage(kTransformStage, start);

  ClipVertex polygon[kClipOutputLimit];
  const std::int32_t count = ClipTriangle(triangle, polygon);
  if (timed) CloseStage(kClipStage, start);

  std::uint32_t written = 0;
  TriangleRecord discarded;
  for (std::int32_t i = 1; i + 1 < count; ++i) {
    const ClipVertex fan[3] = {polygon[0], polygon[i], polygon[i + 1]};
    if (SetupTriangle(fan, packet, out == nullptr ? &discarded : out + written)) ++written;
  }
  if (timed) CloseStage(kSetupStage, start);
  return written;
}

std::uint32_t EmitPacket(const NativePacket& packet, const PacketVertex* frameVertices, TriangleRecord* out) {
  const PacketVertex* vertices = frameVertices + packet.firstVertex;
  std::uint32_t written = 0;
  ForEachAssembledTriangle(packet.mode, packet.vertexCount, [&](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    written += EmitAssembledTriangle(packet, vertices + a, vertices + b, vertices + c,
                                     out == nullptr ? nullptr : out + written);
  });
  return written;
}

}  // namespace tlr2
