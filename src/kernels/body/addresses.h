// From texel coordinates to byte offsets: wrapping, and the size, pitch and place of a level.
#pragma once

namespace tlr2 {
namespace {

/// A mip level's numbers, a lane each. Sampling works on one part of the lanes at a time: twice as many values would
/// not fit the registers.
template <typename Lanes>
struct Level {
  Lanes width, height;
  IntsOf<Lanes> columns, rows;  // the same as integers
  IntsOf<Lanes> strideBytes, offsetBytes;
};

template <typename Lanes>
LANE_FN Level<Lanes> UniformLevel(const TextureCacheEntry& entry, std::int32_t level) {
  Level<Lanes> l;
  l.columns = Splat(entry.levelWidth[level]);
  l.rows = Splat(entry.levelHeight[level]);
  l.width = ToFloats(l.columns);
  l.height = ToFloats(l.rows);
  l.strideBytes = Splat(entry.levelStrideBytes[level]);
  l.offsetBytes = Splat(entry.levelOffsetBytes[level]);
  return l;
}

/// `level` lies in 0 to 15 in every lane.
template <typename Lanes>
LANE_FN Level<Lanes> GatheredLevel(const TextureCacheEntry& entry, IntsOf<Lanes> level) {
  const IntsOf<Lanes> index = ShiftLeft<2>(level);
  Level<Lanes> l;
  l.columns = Gather(entry.levelWidth, index);
  l.rows = Gather(entry.levelHeight, index);
  l.width = ToFloats(l.columns);
  l.height = ToFloats(l.rows);
  l.strideBytes = Gather(entry.levelStrideBytes, index);
  l.offsetBytes = Gather(entry.levelOffsetBytes, index);
  return l;
}

/// Clamp, or a mask that is exact for powers of two and applied to every size. Coordinates may be wild; the result
/// lies inside an existing level, or at most one word outside it where the level is past the end of the chain.
template <typename Words>
LANE_FN Words Wrap(bool clamp, Words c, Words size) {
  const Words last = Sub(size, Splat(1));
  if (!clamp) return And(c, last);
  return Select(Less(c, Splat(0)), Splat(0), Select(Less(c, size), c, last));
}

template <typename Lanes>
LANE_FN IntsOf<Lanes> RowOffset(const Level<Lanes>& level, IntsOf<Lanes> y) {
  return Add(level.offsetBytes, Mul(y, level.strideBytes));
}
template <typename Words>
LANE_FN Words TexelOffset(Words rowOffset, Words x) {
  return And(Add(ShiftLeft<2>(x), rowOffset), Splat(-4));
}

LANE_FN const void* Texels(const TextureCacheEntry& entry) {
  return reinterpret_cast<const void*>(static_cast<std::uintptr_t>(entry.texels[0]));
}

}  // namespace
}  // namespace tlr2
