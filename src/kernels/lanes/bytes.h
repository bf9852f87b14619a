// A channel of words times a constant. Included by the lanes that have no better way, after their arithmetic.
#pragma once

namespace tlr2 {
namespace {

/// Byte `Byte` of each word, from the lowest, times `scale`, rounded once; `scale` over 2^24 is still a normal number.
/// A byte in its place is the byte times a power of two, which the factor takes back without rounding.
template <int Byte>
LANE_FN FloatsPart ByteTimes(IntsPart words, float scale) {
  if constexpr (Byte == 3) return Mul(ToFloats(ShiftRight<24>(words)), Splat(scale));
  return Mul(ToFloats(And(words, Splat(0xFF << (8 * Byte)))), Splat(scale / static_cast<float>(1 << (8 * Byte))));
}
#if !TLR2_LANES_FUSE
/// The same of words whose highest byte is 255.
template <int Byte>
LANE_FN FloatsPart OpaqueByteTimes(IntsPart words, float scale) {
  return ByteTimes<Byte>(words, scale);
}
#endif

}  // namespace
}  // namespace tlr2
