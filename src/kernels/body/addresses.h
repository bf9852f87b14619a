// From texel coordinates to byte offsets: wrapping, and the size, pitch and place of a level.
#pragma once

namespace tlr2 {
namespace {

/// A mip level's numbers, a lane each. Sampling works on one part of the lanes at a time: twice as many values would
/// not fit the registers.
struct Level {
  FloatsPart width, height;
  IntsPart columns, rows;  // the same as integers
  IntsPart strideBytes, offsetBytes;
};

LANE_FN Level UniformLevel(const TextureCacheEntry& entry, std::int32_t level) {
  Level l;
  l.columns = Splat(entry.levelWidth[level]);
  l.rows = Splat(entry.levelHeight[level]);
  l.width = ToFloats(l.columns);
  l.height = ToFloats(l.rows);
  l.strideBytes = Splat(entry.levelStrideBytes[level]);
  l.offsetBytes = Splat(entry.levelOffsetBytes[level]);
  return l;
}

/// `level` lies in 0 to 15 in every lane.
LANE_FN Level GatheredLevel(const TextureCacheEntry& entry, IntsPart level) {
  Level l;
  l.columns = Gather(entry.levelWidth, level);
  l.rows = Gather(entry.levelHeight, level);
  l.width = ToFloats(l.columns);
  l.height = ToFloats(l.rows);
  l.strideBytes = Gather(entry.levelStrideBytes, level);
  l.offsetBytes = Gather(entry.levelOffsetBytes, level);
  return l;
}

/// Clamp, or a mask that is exact for powers of two and applied to every size. Coordinates may be wild; the result
/// lies inside an existing level, or at most one word outside it where the level is past the end of the chain.
LANE_FN IntsPart Wrap(bool clamp, IntsPart c, IntsPart size) {
  const IntsPart last = Sub(size, Splat(1));
  if (!clamp) return And(c, last);
  return Select(Less(c, Splat(0)), Splat(0), Min(c, last));
}

LANE_FN IntsPart RowOffset(const Level& level, IntsPart y) { return Add(level.offsetBytes, Mul(y, level.strideBytes)); }
LANE_FN IntsPart TexelOffset(IntsPart rowOffset, IntsPart x) { return And(Add(ShiftLeft<2>(x), rowOffset), Splat(-4)); }

LANE_FN const void* Texels(const TextureCacheEntry& entry) {
  return reinterpret_cast<const void*>(static_cast<std::uintptr_t>(entry.texels[0]));
}

/// A level whose rows are whole texels apart and whose sizes are powers of two where it repeats: a place in it is a
/// number of texels, and both ways to wrap are the same few steps.
struct PlainLevel {
  FloatsPart width, height;
  IntsPart columnBits, rowBits;  // what repeating leaves of a coordinate; where it clamps, all of it
  IntsPart columnRoom, rowRoom;  // the last ones with another behind them
  IntsPart stride;               // in texels
  std::ptrdiff_t strideBytes;
  const char* texels;
};

/// Returns whether the level is one. Levels a single texel wide or high are left to others: all that is in them wraps.
LANE_FN bool FindPlainLevel(const TextureCacheEntry& entry, std::int32_t level, PlainLevel& plain) {
  const bool clampS = entry.wrapClampS == 1, clampT = entry.wrapClampT == 1;
  const std::int32_t columns = entry.levelWidth[level], rows = entry.levelHeight[level];
  const std::int32_t stride = entry.levelStrideBytes[level], offset = entry.levelOffsetBytes[level];
  const auto fits = [](bool clamp, std::int32_t size)
                        __attribute__((always_inline)) { return size >= 2 && (clamp || (size & (size - 1)) == 0); };
  if (!fits(clampS, columns) || !fits(clampT, rows) || ((stride | offset) & 3) != 0) return false;
  const IntsPart w = Splat(columns), h = Splat(rows);
  plain.width = ToFloats(w);
  plain.height = ToFloats(h);
  plain.columnBits = Splat(clampS ? -1 : columns - 1);
  plain.rowBits = Splat(clampT ? -1 : rows - 1);
  plain.columnRoom = Add(w, Splat(-2));
  plain.rowRoom = Add(h, Splat(-2));
  plain.stride = Splat(stride >> 2);
  plain.strideBytes = stride;
  plain.texels = static_cast<const char*>(Texels(entry)) + offset;
  return true;
}

/// Wraps a coordinate either way.
LANE_FN IntsPart WrapPlain(IntsPart c, IntsPart bits, IntsPart room) {
  return Min(Max(And(c, bits), Splat(0)), Add(room, Splat(1)));
}

}  // namespace
}  // namespace tlr2
