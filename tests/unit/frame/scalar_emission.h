// The judge: assembly, transform, clipping and set-up as plain scalar code, written from the rules and apart from the
// driver's code. Single precision throughout.
#pragma once

#include <cstdint>
#include <vector>

#include "records/packet.h"

namespace frame_test {

struct ScalarSwitches {
  bool disableHiZ = false;
  bool disableFaceCull = false;
};

void ScalarTransform(const float m[16], float x, float y, float z, float out[4]);
std::vector<tlr2::ClipVertex> ScalarClip(const std::vector<tlr2::ClipVertex>& triangle);
bool ScalarSetup(const tlr2::NativePacket& packet, const tlr2::ClipVertex& a, const tlr2::ClipVertex& b,
                 const tlr2::ClipVertex& c, const ScalarSwitches& switches, tlr2::TriangleRecord& out);
/// Vertex indices, three a triangle.
std::vector<std::uint32_t> ScalarAssembly(std::uint32_t mode, std::uint32_t n);
void ScalarEmit(const tlr2::NativePacket& packet, const tlr2::PacketVertex* frameVertices,
                const ScalarSwitches& switches, std::vector<tlr2::TriangleRecord>& out);

/// Word for word; two NaNs in the same place are equal whatever their payload.
bool SameRecord(const tlr2::TriangleRecord& a, const tlr2::TriangleRecord& b);

}  // namespace frame_test
