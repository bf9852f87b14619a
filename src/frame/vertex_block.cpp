// Transform and projection of many vertices at a time.
#include "frame/vertex_block.h"

#include "base/float4.h"

namespace tlr2 {
namespace {

static_assert(kBlockLanes == 4);
static_assert(offsetof(PacketVertex, x) == 0 && offsetof(PacketVertex, z) == 8 && sizeof(PacketVertex) >= 16);

using Bits4 = std::uint32_t __attribute__((vector_size(16)));

/// The matrix, each element in all lanes.
struct SplatMatrix {
  Float4 m[16];
};

/// A row of the product, in TransformPoint's order of additions.
inline Float4 Row(const SplatMatrix& matrix, int row, Float4 x, Float4 y, Float4 z) noexcept {
  return y * matrix.m[row + 4] + x * matrix.m[row] + z * matrix.m[row + 8] + matrix.m[row + 12];
}

/// `bit` in the lanes where the distance is not at least 0: a NaN is outside.
inline Bits4 Outside(Float4 distance, std::uint32_t bit) noexcept {
  return ~reinterpret_cast<Bits4>(distance >= Splat4(0.0f)) & Bits4{bit, bit, bit, bit};
}

inline void Store(Float4 lanes, float* to) noexcept { std::memcpy(to, &lanes, sizeof lanes); }

}  // namespace

BlockSides PrepareVertices(const NativePacket& packet, const ViewportMapping& map, const PacketVertex* vertices,
                           std::uint32_t count, std::uint32_t at, VertexBlock& block) noexcept {
  SplatMatrix matrix;
  for (int i = 0; i < 16; ++i) matrix.m[i] = Splat4(packet.mvp[i]);
  const Float4 half = Splat4(0.5f), one = Splat4(1.0f);
  Bits4 any = {}, all = ~Bits4{};

  for (std::uint32_t first = 0; first < count; first += kBlockLanes) {
    // Lanes past the end repeat the last vertex.
    const auto position = [=](std::uint32_t l) {
      return Load4(&vertices[first + l < count ? first + l : count - 1].x);
    };
    Float4 px = position(0), py = position(1), pz = position(2), unused = position(3);
    Transpose4(px, py, pz, unused);
    const Float4 x = Row(matrix, 0, px, py, pz);
    const Float4 y = Row(matrix, 1, px, py, pz);
    const Float4 z = Row(matrix, 2, px, py, pz);
    const Float4 w = Row(matrix, 3, px, py, pz);
    const std::uint32_t to = at + first;
    Store(x, block.clipX + to);
    Store(y, block.clipY + to);
    Store(z, block.clipZ + to);
    Store(w, block.clipW + to);

    Bits4 outside = Outside(w + x, 1) | Outside(w - x, 2) | Outside(w + y, 4) | Outside(w - y, 8) | Outside(w + z, 16) |
                    Outside(w - z, 32);
    outside |=
        reinterpret_cast<Bits4>(w <= Splat4(0.0f)) & Bits4{kRejectedWBit, kRejectedWBit, kRejectedWBit, kRejectedWBit};
    std::memcpy(block.outside + to, &outside, sizeof outside);
    any |= outside;
    all &= outside;
    // Nobody reads the window coordinates of a vertex that is outside.
    if (!AnyLane(outside == 0)) continue;

    const Float4 invW = one / w;
    const Float4 ndcX = invW * x * half + half;
    const Float4 ndcY = invW * y * half + half;
    const Float4 ndcZ = invW * z * half + half;
    Store(ndcX * Splat4(map.width) + Splat4(map.x), block.x + to);
    Store((one - ndcY) * Splat4(map.height) + Splat4(map.y), block.y + to);
    Store(ndcZ * Splat4(map.depthSpan) + Splat4(map.depthNear), block.z + to);
    Store(invW, block.invW + to);
  }
  return {any[0] | any[1] | any[2] | any[3], all[0] & all[1] & all[2] & all[3]};
}

}  // namespace tlr2
