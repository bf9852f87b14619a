// Transform and projection of many vertices at a time.
#include "frame/vertex_block.h"

namespace tlr2 {
namespace {

/// One group of lanes. Loops over all lanes, so that the compiler makes each a vector operation.
struct Lanes {
  alignas(16) float v[kBlockLanes];
};

/// A row of the product, in TransformPoint's order of additions.
inline Lanes Row(const float* m, int row, const Lanes& x, const Lanes& y, const Lanes& z) noexcept {
  const float mx = m[row], my = m[row + 4], mz = m[row + 8], mw = m[row + 12];
  Lanes out;
  for (std::uint32_t l = 0; l < kBlockLanes; ++l) out.v[l] = y.v[l] * my + x.v[l] * mx + z.v[l] * mz + mw;
  return out;
}

struct LaneBits {
  alignas(16) std::uint32_t v[kBlockLanes];
};

/// `bit` in the lanes where the distance w + c, or w - c, is not at least 0: a NaN is outside.
inline LaneBits Outside(const Lanes& w, const Lanes& c, std::uint32_t bit, int sign) noexcept {
  Lanes distance;
  for (std::uint32_t l = 0; l < kBlockLanes; ++l) distance.v[l] = sign > 0 ? w.v[l] + c.v[l] : w.v[l] - c.v[l];
  LaneBits out;
  for (std::uint32_t l = 0; l < kBlockLanes; ++l) out.v[l] = distance.v[l] >= 0.0f ? 0u : bit;
  return out;
}

inline void Merge(LaneBits& into, const LaneBits& bits) noexcept {
  for (std::uint32_t l = 0; l < kBlockLanes; ++l) into.v[l] |= bits.v[l];
}

inline void Store(const Lanes& lanes, float* to) noexcept {
  for (std::uint32_t l = 0; l < kBlockLanes; ++l) to[l] = lanes.v[l];
}

}  // namespace

void PrepareVertices(const NativePacket& packet, const ViewportMapping& mapping, const PacketVertex* vertices,
                     std::uint32_t count, std::uint32_t at, VertexBlock& block) noexcept {
  const ViewportMapping map = mapping;
  float m[16];
  for (int i = 0; i < 16; ++i) m[i] = packet.mvp[i];

  for (std::uint32_t first = 0; first < count; first += kBlockLanes) {
    Lanes px, py, pz;
    for (std::uint32_t l = 0; l < kBlockLanes; ++l) {
      const std::uint32_t i = first + l < count ? first + l : count - 1;  // lanes past the end repeat the last vertex
      px.v[l] = vertices[i].x;
      py.v[l] = vertices[i].y;
      pz.v[l] = vertices[i].z;
    }
    const Lanes x = Row(m, 0, px, py, pz);
    const Lanes y = Row(m, 1, px, py, pz);
    const Lanes z = Row(m, 2, px, py, pz);
    const Lanes w = Row(m, 3, px, py, pz);
    const std::uint32_t to = at + first;
    Store(x, block.clipX + to);
    Store(y, block.clipY + to);
    Store(z, block.clipZ + to);
    Store(w, block.clipW + to);

    LaneBits outside = Outside(w, x, 1, +1);
    Merge(outside, Outside(w, x, 2, -1));
    Merge(outside, Outside(w, y, 4, +1));
    Merge(outside, Outside(w, y, 8, -1));
    Merge(outside, Outside(w, z, 16, +1));
    Merge(outside, Outside(w, z, 32, -1));
    for (std::uint32_t l = 0; l < kBlockLanes; ++l) outside.v[l] |= w.v[l] <= 0.0f ? kRejectedWBit : 0u;
    for (std::uint32_t l = 0; l < kBlockLanes; ++l) block.outside[to + l] = outside.v[l];

    Lanes invW, sx, sy, sz;
    for (std::uint32_t l = 0; l < kBlockLanes; ++l) invW.v[l] = 1.0f / w.v[l];
    for (std::uint32_t l = 0; l < kBlockLanes; ++l) {
      const float ndc = invW.v[l] * x.v[l] * 0.5f + 0.5f;
      sx.v[l] = ndc * map.width + map.x;
    }
    for (std::uint32_t l = 0; l < kBlockLanes; ++l) {
      const float ndc = invW.v[l] * y.v[l] * 0.5f + 0.5f;
      sy.v[l] = (1.0f - ndc) * map.height + map.y;
    }
    for (std::uint32_t l = 0; l < kBlockLanes; ++l) {
      const float ndc = invW.v[l] * z.v[l] * 0.5f + 0.5f;
      sz.v[l] = ndc * map.depthSpan + map.depthNear;
    }
    Store(sx, block.x + to);
    Store(sy, block.y + to);
    Store(sz, block.z + to);
    Store(invW, block.invW + to);
  }
}

}  // namespace tlr2
