// FNV-1a of long runs for processors with AVX2; this file alone is compiled for it.
//
// One chain waits for a multiplication at every byte. Segments of 16 bytes can go side by side, a lane each, once the
// state at each segment's start is known, but of it only the low byte: a byte is xored into the low byte alone, so with
// state = low + 256 * high, a segment's result is its result from `low` plus 256 * high times the prime's power.
//
// The low bytes come from a first pass. low' = (low ^ byte) * 0x93 mod 256, where 0x93 is odd: bit k of the product is
// bit k of the factor xored with something made of lower bits only. So bit by bit, lowest first, with a segment in each
// bit of a vector: every segment runs from a bit of 0, which tells how the segment flips the bit, hence the bit at each
// segment's start, which then corrects the run, since bit k itself changes nothing else in it.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "base/hash_planes.h"

namespace tlr2 {
namespace {

using namespace planes;

constexpr int kWidth = 32;
constexpr int kHalves = kWidth / 16, kWordLanes = kWidth / 4;
constexpr std::size_t kSegmentBytes = 16;
constexpr std::size_t kSegments = kWidth * 8;
constexpr std::size_t kChunkBytes = kSegments * kSegmentBytes;

using HalfBytes = std::uint8_t __attribute__((vector_size(16)));
using Plane = std::uint64_t __attribute__((vector_size(kWidth)));
using Words = std::uint32_t __attribute__((vector_size(kWidth)));
using Bytes = std::uint8_t __attribute__((vector_size(kWidth)));

/// Each element of 16-byte halves: the lower ones of both in turn, or the upper ones.
template <typename Vector, bool Upper, int... I>
TLR2_INLINE Vector Interleave(const Vector& a, const Vector& b, std::integer_sequence<int, I...>) noexcept {
  constexpr int kAll = sizeof...(I), kHalf = kAll / kHalves;
  return __builtin_shufflevector(
      a, b, (I / kHalf * kHalf + I % kHalf / 2 + (Upper ? kHalf / 2 : 0) + (I % 2 != 0 ? kAll : 0))...);
}
template <typename Vector>
TLR2_INLINE Vector Lower(const Vector& a, const Vector& b) noexcept {
  return Interleave<Vector, false>(a, b, std::make_integer_sequence<int, sizeof(Vector) / sizeof(a[0])>());
}
template <typename Vector>
TLR2_INLINE Vector Upper(const Vector& a, const Vector& b) noexcept {
  return Interleave<Vector, true>(a, b, std::make_integer_sequence<int, sizeof(Vector) / sizeof(a[0])>());
}

/// A segment in each half, the second one `stride` segments behind the first.
TLR2_INLINE Bytes LoadSegments(const std::uint8_t* at, std::size_t stride) noexcept {
  HalfBytes first, second;
  std::memcpy(&first, at, sizeof first);
  std::memcpy(&second, at + stride * kSegmentBytes, sizeof second);
  return __builtin_shufflevector(first, second, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19,
                                 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31);
}

/// A chunk's bytes, bit by bit. Segment 128 h + 16 m + j is bit m of byte j of half h of each vector.
struct Chunk {
  Plane x[8][kSegmentBytes];  // the bytes' bits, then the bits after the xor
  Plane c[kSegmentBytes];     // carries within 3x
  Plane d[kSegmentBytes];     // carries of the sum with 16x
  Plane starts[8];            // the low byte at each segment's start
};

TLR2_INLINE void InterleaveRows(const Bytes* from, Bytes* to) noexcept {
  for (int i = 0; i < 8; ++i) {
    to[2 * i] = Lower(from[i], from[i + 8]);
    to[2 * i + 1] = Upper(from[i], from[i + 8]);
  }
}

TLR2_INLINE void LoadChunk(const std::uint8_t* bytes, Chunk& chunk) noexcept {
  Bytes steps[kSegmentBytes][8];
  for (std::size_t m = 0; m < 8; ++m) {
    Bytes a[16], b[16];
    for (std::size_t j = 0; j < 16; ++j) a[j] = LoadSegments(bytes + (16 * m + j) * kSegmentBytes, 128);
    InterleaveRows(a, b);
    InterleaveRows(b, a);
    InterleaveRows(a, b);
    InterleaveRows(b, a);
    for (std::size_t t = 0; t < kSegmentBytes; ++t) steps[t][m] = a[t];
  }
  for (std::size_t t = 0; t < kSegmentBytes; ++t) {
    Plane rows[8];
    std::memcpy(rows, steps[t], sizeof rows);
    ToPlanes(rows);
    for (int k = 0; k < 8; ++k) chunk.x[k][t] = rows[k];
  }
}

/// Bit `K` of 0x93 x = 3x + 16x + 128x, but for the factor's own bit K, flips the running bit.
template <int K>
TLR2_INLINE void StepPlane(Chunk& chunk, std::uint32_t& low) noexcept {
  Plane run = {}, below = {};
  if constexpr (K >= 1) below = chunk.starts[K - 1];
  for (std::size_t t = 0; t < kSegmentBytes; ++t) {
    Plane flips = chunk.x[K][t];
    chunk.x[K][t] ^= run;
    const auto x = [&](int plane) -> Plane& { return chunk.x[plane][t]; };
    if constexpr (K >= 1) x(K - 1) ^= below;  // as it is from the bit at the segment's start on
    if constexpr (K >= 5) {
      const Plane triple = x(K - 1) ^ x(K - 2) ^ chunk.c[t];
      chunk.d[t] = K == 5 ? triple & x(0) : Majority(triple, x(K - 5), chunk.d[t]);
      flips ^= chunk.d[t];
    }
    if constexpr (K >= 2) {
      chunk.c[t] = K == 2 ? x(1) & x(0) : Majority(x(K - 1), x(K - 2), chunk.c[t]);
      flips ^= chunk.c[t];
    }
    if constexpr (K >= 1) flips ^= x(K - 1);
    if constexpr (K >= 4) flips ^= x(K - 4);
    if constexpr (K >= 7) flips ^= x(K - 7);
    run ^= flips;
  }
  Plane16 halves[kHalves];
  std::memcpy(halves, &run, sizeof run);
  for (Plane16& half : halves) half = RunPlane(half, K, low);
  std::memcpy(&chunk.starts[K], halves, sizeof run);
}

/// The low byte of the state at each segment's start, from `low` at the chunk's; `low` becomes that behind the chunk.
TLR2_INLINE void LowBytes(const std::uint8_t* bytes, std::uint32_t& low, std::uint8_t* lows) noexcept {
  Chunk chunk;
  LoadChunk(bytes, chunk);
  StepPlane<0>(chunk, low);
  StepPlane<1>(chunk, low);
  StepPlane<2>(chunk, low);
  StepPlane<3>(chunk, low);
  StepPlane<4>(chunk, low);
  StepPlane<5>(chunk, low);
  StepPlane<6>(chunk, low);
  StepPlane<7>(chunk, low);
  ToPlanes(chunk.starts);
  for (int m = 0; m < 8; ++m) {
    const auto* row = reinterpret_cast<const std::uint8_t*>(&chunk.starts[m]);
    for (int h = 0; h < kHalves; ++h) std::memcpy(lows + 128 * h + 16 * m, row + 16 * h, 16);
  }
}

/// Four bytes of each lane's segment, the first in the lowest bits.
TLR2_INLINE void HashWords(Words& state, const Words& bytes) noexcept {
  state = (state ^ (bytes & 0xFFu)) * kFnvPrime;
  state = (state ^ (bytes >> 8 & 0xFFu)) * kFnvPrime;
  state = (state ^ (bytes >> 16 & 0xFFu)) * kFnvPrime;
  state = (state ^ bytes >> 24) * kFnvPrime;
}

/// A segment a lane: each from its low byte to what it adds to the hash. `sums` gathers them as a polynomial in the
/// power that a vector's bytes make.
TLR2_INLINE void HashChunk(const std::uint8_t* bytes, const std::uint8_t* lows, Words& sums) noexcept {
  constexpr std::uint32_t kSegmentPower = PrimePower(kSegmentBytes);
  constexpr std::uint32_t kVectorPower = PrimePower(kSegmentBytes * kWordLanes);
  constexpr int kVectors = 4;  // at a time: the multiplications of one wait for each other
  for (std::size_t s = 0; s < kSegments; s += kVectors * kWordLanes) {
    Words text[kVectors][4], state[kVectors], low[kVectors];
    for (int v = 0; v < kVectors; ++v) {
      const std::uint8_t* at = bytes + (s + static_cast<std::size_t>(v * kWordLanes)) * kSegmentBytes;
      Words rows[4];
      for (int i = 0; i < 4; ++i) rows[i] = (Words)LoadSegments(at + static_cast<std::size_t>(i) * kSegmentBytes, 4);
      const Words a = Lower(rows[0], rows[2]), b = Upper(rows[0], rows[2]);
      const Words c = Lower(rows[1], rows[3]), d = Upper(rows[1], rows[3]);
      text[v][0] = Lower(a, c), text[v][1] = Upper(a, c), text[v][2] = Lower(b, d), text[v][3] = Upper(b, d);
      using LaneBytes = std::uint8_t __attribute__((vector_size(kWordLanes)));
      LaneBytes low8;
      std::memcpy(&low8, lows + s + static_cast<std::size_t>(v * kWordLanes), sizeof low8);
      low[v] = state[v] = __builtin_convertvector(low8, Words);
    }
    for (int word = 0; word < 4; ++word) {
      for (int v = 0; v < kVectors; ++v) HashWords(state[v], text[v][word]);
    }
    for (int v = 0; v < kVectors; ++v) sums = sums * kVectorPower + (state[v] - low[v] * kSegmentPower);
  }
}

/// The hash after `size` bytes, whole chunks, from `hash`.
TLR2_INLINE std::uint32_t HashChunks(std::uint32_t hash, const std::uint8_t* bytes, std::size_t size) noexcept {
  std::uint32_t low = hash & 0xFFu;
  Words sums = {};
  std::uint8_t lows[kSegments];
  for (std::size_t at = 0; at < size; at += kChunkBytes) {
    LowBytes(bytes + at, low, lows);
    HashChunk(bytes + at, lows, sums);
  }
  std::uint32_t result = 0;
  for (int i = 0; i < kWordLanes; ++i) result = result * PrimePower(kSegmentBytes) + sums[i];
  return result + hash * PrimePower(size);
}

}  // namespace

std::uint32_t Fnv1aLongAvx2(const std::uint8_t* bytes, std::size_t size) noexcept {
  const std::size_t whole = size / kChunkBytes * kChunkBytes;
  return Fnv1aContinue(HashChunks(kFnvBasis, bytes, whole), bytes + whole, size - whole);
}

}  // namespace tlr2
