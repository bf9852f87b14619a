// Emission of one packet: vertices prepared block by block, records written in place, and the clipper only for the
// triangles that need it.
#include "frame/packet_emission.h"

#include "frame/assembly.h"
#include "frame/emission.h"
#include "frame/transform.h"
#include "frame/vertex_block.h"
#include "settings/settings.h"
#include "settings/stage_counters.h"

namespace tlr2 {
namespace {

constexpr std::size_t kMostPerTriangle = kClipOutputLimit - 2;  // a fan of the greatest polygon

class PacketEmitter {
 public:
  PacketEmitter(const NativePacket& packet, TriangleSink& sink) noexcept
      : packet_(packet), sink_(sink), settings_(Settings()), map_(MakeViewportMapping(packet)) {}

  /// Lists and strips: blocks of at most `length` vertices, each beginning `step` after the one before. A triangle
  /// needs `needed` vertices ahead.
  void Blocks(const PacketVertex* vertices, std::uint32_t length, std::uint32_t step, std::uint32_t needed) {
    const std::uint32_t n = packet_.vertexCount;
    for (std::uint32_t first = 0; first + needed < n; first += step) {
      const std::uint32_t count = n - first < length ? n - first : length;
      const PacketVertex* v = vertices + first;
      if (PrepareVertices(packet_, map_, v, count, 0, block_).AllClippedAway()) continue;
      ForEachAssembledTriangle(packet_.mode, count, [this, v](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
        Triangle(a, b, c, v[a], v[b], v[c]);
      });
    }
  }

  /// Fans: the first vertex stays in the block, the others pass through behind it.
  void Fan(const PacketVertex* vertices) {
    const std::uint32_t n = packet_.vertexCount;
    constexpr std::uint32_t kLength = kBlockVertices - 1;
    const BlockSides hub = PrepareVertices(packet_, map_, vertices, 1, 0, block_);
    for (std::uint32_t first = 1; first + 1 < n; first += kLength - 1) {
      const std::uint32_t count = n - first < kLength ? n - first : kLength;
      const PacketVertex* v = vertices + first;
      const BlockSides rim = PrepareVertices(packet_, map_, v, count, 1, block_);
      if (BlockSides{hub.any | rim.any, hub.all & rim.all}.AllClippedAway()) continue;
      for (std::uint32_t i = 0; i + 1 < count; ++i) Triangle(0, i + 1, i + 2, vertices[0], v[i], v[i + 1]);
    }
  }

 private:
  void Triangle(std::uint32_t a, std::uint32_t b, std::uint32_t c, const PacketVertex& va, const PacketVertex& vb,
                const PacketVertex& vc) {
    if ((block_.outside[a] | block_.outside[b] | block_.outside[c]) != 0) {
      Crossing(a, b, c, va, vb, vc);
      return;
    }
    // Wholly inside, so the clipper would return it unchanged.
    const ScreenVertex s0 = {block_.x[a], block_.y[a], block_.z[a], block_.invW[a]};
    const ScreenVertex s1 = {block_.x[b], block_.y[b], block_.z[b], block_.invW[b]};
    const ScreenVertex s2 = {block_.x[c], block_.y[c], block_.z[c], block_.invW[c]};
    if ((packet_.cullEnabled & 0xFFu) != 0 && settings_.disableFaceCull == 0 && CulledByFace(packet_, s0, s1, s2)) {
      return;
    }
    TriangleRecord& out = *sink_.Next();
    // The draw state in whole vectors, with its neighbours, which are written after it.
    constexpr std::size_t kState = 20 * sizeof(std::uint32_t);
    std::memcpy(reinterpret_cast<std::uint8_t*>(&out) + kState,
                reinterpret_cast<const std::uint8_t*>(&packet_.triangleTemplate) + kState, sizeof out - kState);
    out.x[0] = s0.x, out.x[1] = s1.x, out.x[2] = s2.x;
    out.y[0] = s0.y, out.y[1] = s1.y, out.y[2] = s2.y;
    out.z[0] = s0.z, out.z[1] = s1.z, out.z[2] = s2.z;
    out.color[0] = va.color, out.color[1] = vb.color, out.color[2] = vc.color;
    out.s[0] = va.s, out.s[1] = vb.s, out.s[2] = vc.s;
    out.t[0] = va.t, out.t[1] = vb.t, out.t[2] = vc.t;
    out.invW[0] = s0.invW, out.invW[1] = s1.invW, out.invW[2] = s2.invW;
    if (settings_.disableHiZ != 0) [[unlikely]] {
      out.zMin = kOpenZMin;
      out.zMax = kOpenZMax;
    } else {
      out.zMin = LesserOf(LesserOf(s0.z, s1.z), s2.z);
      out.zMax = GreaterOf(GreaterOf(s0.z, s1.z), s2.z);
    }
  }

  ClipVertex ClipVertexAt(std::uint32_t i, const PacketVertex& v) const noexcept {
    return {block_.clipX[i], block_.clipY[i], block_.clipZ[i], block_.clipW[i], v.color, v.s, v.t};
  }

  void Crossing(std::uint32_t a, std::uint32_t b, std::uint32_t c, const PacketVertex& va, const PacketVertex& vb,
                const PacketVertex& vc) {
    const std::uint32_t oa = block_.outside[a], ob = block_.outside[b], oc = block_.outside[c];
    const BlockSides sides = {oa | ob | oc, oa & ob & oc};
    if ((sides.any & kPlaneBits) == 0) return;  // only a w that set-up rejects
    if (sides.AllClippedAway()) return;

    const ClipVertex triangle[3] = {ClipVertexAt(a, va), ClipVertexAt(b, vb), ClipVertexAt(c, vc)};
    ClipVertex polygon[kClipOutputLimit];
    const std::int32_t count = ClipTriangle(triangle, polygon);
    for (std::int32_t i = 1; i + 1 < count; ++i) {
      const ClipVertex fan[3] = {polygon[0], polygon[i], polygon[i + 1]};
      TriangleRecord record;
      if (SetupTriangle(fan, packet_, &record)) *sink_.Next() = record;
    }
  }

  const NativePacket& packet_;
  TriangleSink& sink_;
  const DriverSettings& settings_;
  const ViewportMapping map_;
  VertexBlock block_;
};

/// One triangle at a time, so that each stage can be timed.
void EmitTimed(const NativePacket& packet, const PacketVertex* vertices, TriangleSink& sink) {
  ForEachAssembledTriangle(packet.mode, packet.vertexCount, [&](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    TriangleRecord records[kMostPerTriangle];
    sink.Append(records, EmitAssembledTriangle(packet, vertices + a, vertices + b, vertices + c, records));
  });
}

}  // namespace

void EmitPacketInto(const NativePacket& packet, const PacketVertex* frameVertices, TriangleSink& sink) {
  const PacketVertex* vertices = frameVertices + packet.firstVertex;
  if (StageTimingEnabled()) [[unlikely]] {
    EmitTimed(packet, vertices, sink);
    return;
  }
  PacketEmitter emitter(packet, sink);
  switch (packet.mode) {
    case gl::kTriangles:
      emitter.Blocks(vertices, kBlockVertices / 3 * 3, kBlockVertices / 3 * 3, 2);
      break;
    case gl::kQuads:
      emitter.Blocks(vertices, kBlockVertices, kBlockVertices, 3);
      break;
    case gl::kTriangleStrip:
      emitter.Blocks(vertices, kBlockVertices, kBlockVertices - 2, 2);  // even: the winding keeps its alternation
      break;
    case gl::kQuadStrip:
      emitter.Blocks(vertices, kBlockVertices, kBlockVertices - 2, 3);
      break;
    case gl::kTriangleFan:
    case gl::kPolygon:
      emitter.Fan(vertices);
      break;
    default:
      break;  // points and lines draw nothing
  }
}

}  // namespace tlr2
