// FNV-1a of long runs, as every processor can. One chain waits for a multiplication at every byte; four chains over
// four parts of the run keep the processor busy. For that, the state at the parts' starts must be known, but of it only
// the low byte: a byte is xored into the low byte alone, so with state = low + 256 * high, a part's result is its
// result from `low` plus 256 * high times the prime's power.
//
// The low bytes come from a first pass. low' = (low ^ byte) * 0x93 mod 256, where 0x93 is odd: bit k of the product is
// bit k of the factor xored with something made of lower bits only. So with the bits of 128 bytes in eight planes, each
// plane is a running xor, worked out for all places at once, lowest plane first.
#include "base/hash.h"

#include <cstring>

#include "base/hash_planes.h"

namespace tlr2 {
namespace {

using namespace planes;
using Plane = Plane16;

constexpr std::size_t kBlockBytes = 128;  // eight rows of sixteen
constexpr std::size_t kGroupBlocks = 8;
constexpr std::size_t kGroupBytes = kBlockBytes * kGroupBlocks;
constexpr int kChains = 4;

/// A group of blocks goes through plane by plane: within a block each plane waits for the one below, across blocks
/// only one bit is handed on, so the blocks' work overlaps.
struct Group {
  Plane b[8][kGroupBlocks];  // the bytes' bits
  Plane x[8][kGroupBlocks];  // the bits after the xor
  Plane c[kGroupBlocks];     // carries within 3x
  Plane d[kGroupBlocks];     // carries of the sum with 16x
};

/// Bit `K` of 0x93 x = 3x + 16x + 128x, but for the factor's own bit K, is the change of plane K.
template <int K>
TLR2_INLINE void StepPlane(Group& group, std::uint32_t& low) noexcept {
  for (std::size_t i = 0; i < kGroupBlocks; ++i) {
    const auto x = [&](int plane) { return group.x[plane][i]; };
    Plane change = group.b[K][i];
    if constexpr (K >= 5) {
      const Plane triple = x(K - 1) ^ x(K - 2) ^ group.c[i];
      group.d[i] = K == 5 ? triple & x(0) : Majority(triple, x(K - 5), group.d[i]);
      change ^= group.d[i];
    }
    if constexpr (K >= 2) {
      group.c[i] = K == 2 ? x(1) & x(0) : Majority(x(K - 1), x(K - 2), group.c[i]);
      change ^= group.c[i];
    }
    if constexpr (K >= 1) change ^= x(K - 1);
    if constexpr (K >= 4) change ^= x(K - 4);
    if constexpr (K >= 7) change ^= x(K - 7);
    group.x[K][i] = group.b[K][i] ^ RunPlane(change, K, low);
  }
}

/// The low byte of the state after `size` bytes, whole groups, from `low`.
std::uint32_t LowByteAfter(std::uint32_t low, const std::uint8_t* bytes, std::size_t size) noexcept {
  Group group;
  for (std::size_t at = 0; at < size; at += kGroupBytes) {
    for (std::size_t i = 0; i < kGroupBlocks; ++i) {
      Plane rows[8];
      std::memcpy(rows, bytes + at + i * kBlockBytes, kBlockBytes);
      ToPlanes(rows);
      for (int k = 0; k < 8; ++k) group.b[k][i] = rows[k];
    }
    StepPlane<0>(group, low);
    StepPlane<1>(group, low);
    StepPlane<2>(group, low);
    StepPlane<3>(group, low);
    StepPlane<4>(group, low);
    StepPlane<5>(group, low);
    StepPlane<6>(group, low);
    StepPlane<7>(group, low);
  }
  return low;
}

}  // namespace

std::uint32_t Fnv1aLongPlain(const std::uint8_t* bytes, std::size_t size) noexcept {
  const std::size_t part = size / kChains / kGroupBytes * kGroupBytes;
  std::uint32_t low[kChains] = {kFnvBasis & 0xFFu};
  for (int i = 1; i < kChains; ++i)
    low[i] = LowByteAfter(low[i - 1], bytes + static_cast<std::size_t>(i - 1) * part, part);

  std::uint32_t h0 = low[0], h1 = low[1], h2 = low[2], h3 = low[3];
  const std::uint8_t *p1 = bytes + part, *p2 = p1 + part, *p3 = p2 + part;
  for (std::size_t i = 0; i < part; ++i) {
    h0 = (h0 ^ bytes[i]) * kFnvPrime;
    h1 = (h1 ^ p1[i]) * kFnvPrime;
    h2 = (h2 ^ p2[i]) * kFnvPrime;
    h3 = (h3 ^ p3[i]) * kFnvPrime;
  }
  const std::uint32_t results[kChains] = {h0, h1, h2, h3};
  const std::uint32_t power = PrimePower(part);
  std::uint32_t hash = kFnvBasis;
  for (int i = 0; i < kChains; ++i) hash = results[i] + power * (hash - low[i]);
  return Fnv1aContinue(hash, p3 + part, size - kChains * part);
}

std::uint32_t Fnv1aLong(const std::uint8_t* bytes, std::size_t size) noexcept {
  __builtin_cpu_init();  // may run before the compiler's own constructors
  return __builtin_cpu_supports("avx2") ? Fnv1aLongAvx2(bytes, size) : Fnv1aLongPlain(bytes, size);
}

}  // namespace tlr2
