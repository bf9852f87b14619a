// Emission: packets to triangle records, in submission order.
#pragma once

#include <cstdint>

#include "api/state/driver_state.h"

namespace tlr2 {

inline constexpr std::size_t kParallelEmissionVertices = 32768;

struct EmitJobContext {
  const GrowingVector<NativePacket>* packets;
  const PacketVertex* frameVertices;
  std::int32_t jobCount;
  TriangleVector* output;  // one a job
};

/// Jobs that a frame's emission is split into; 1 is the single form, which writes straight into the frame's vector.
std::int32_t EmissionJobCount(bool allowParallel, std::size_t packets, std::size_t vertices) noexcept;
/// Rebuilds the frame's triangle vector from its packets. Always true.
bool EmitTriangles(bool allowParallel);
void BuildTriangleStateTemplate(const DriverState& state, TriangleRecord& out) noexcept;
void EmitPacketRange(std::int32_t job, EmitJobContext* context);
/// Returns the number of records; `out` null: only counts.
std::uint32_t EmitPacket(const NativePacket& packet, const PacketVertex* frameVertices, TriangleRecord* out);
std::uint32_t EmitAssembledTriangle(const NativePacket& packet, const PacketVertex* a, const PacketVertex* b,
                                    const PacketVertex* c, TriangleRecord* out);
/// Divide, viewport, state, depth extremes, culling. Writes `out` only when the triangle survives.
bool SetupTriangle(const ClipVertex vertices[3], const NativePacket& packet, TriangleRecord* out) noexcept;
/// Appends one record to the frame's triangles, raising the published count at each 64th. No stage of a frame calls it.
void EmitAndBinTriangle(const TriangleRecord& triangle);

}  // namespace tlr2
