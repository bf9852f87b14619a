// Emission of one packet in bulk: the records of EmitPacket, faster.
#pragma once

#include "frame/triangle_sink.h"
#include "records/packet.h"

namespace tlr2 {

void EmitPacketInto(const NativePacket& packet, const PacketVertex* frameVertices, TriangleSink& sink);

}  // namespace tlr2
