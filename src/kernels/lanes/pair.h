// Two parts as one step's lanes. Included by the lanes whose step fills two registers, after all that they do with one;
// a value that is the same in all lanes stays a single part until it meets a pair.
#pragma once

namespace tlr2 {
namespace {

constexpr int kParts = 2;

template <typename Part>
struct Pair {
  Part part[2];

  Pair() = default;
  LANE_FN Pair(Part both) : part{both, both} {}
  LANE_FN Pair(Part first, Part second) : part{first, second} {}
};
using Floats = Pair<FloatsPart>;
using Ints = Pair<IntsPart>;
using Mask = Pair<MaskPart>;

template <typename Part>
LANE_FN Part PartOf(const Pair<Part>& x, int part) {
  return x.part[part];
}
template <typename Part>
LANE_FN void SetPart(Pair<Part>& x, int part, Part value) {
  x.part[part] = value;
}

#define TLR2_PAIR_UNARY(result, name, argument) \
  LANE_FN result name(argument x) { return {name(x.part[0]), name(x.part[1])}; }
#define TLR2_PAIR_BINARY(result, name, argument) \
  LANE_FN result name(argument x, argument y) { return {name(x.part[0], y.part[0]), name(x.part[1], y.part[1])}; }
#define TLR2_PAIR_TERNARY(result, name, first, others)                                     \
  LANE_FN result name(first x, others y, others z) {                                       \
    return {name(x.part[0], y.part[0], z.part[0]), name(x.part[1], y.part[1], z.part[1])}; \
  }

TLR2_PAIR_BINARY(Floats, Add, Floats)
TLR2_PAIR_BINARY(Floats, Sub, Floats)
TLR2_PAIR_BINARY(Floats, Mul, Floats)
TLR2_PAIR_BINARY(Floats, Div, Floats)
TLR2_PAIR_BINARY(Floats, Max, Floats)
TLR2_PAIR_UNARY(Floats, Abs, Floats)
TLR2_PAIR_UNARY(Floats, Floor, Floats)
TLR2_PAIR_UNARY(Ints, Truncate, Floats)
TLR2_PAIR_TERNARY(Floats, MulAdd, Floats, Floats)
TLR2_PAIR_TERNARY(Floats, MulSub, Floats, Floats)
TLR2_PAIR_UNARY(Floats, ToFloats, Ints)
TLR2_PAIR_UNARY(Ints, Bits, Floats)
TLR2_PAIR_UNARY(Floats, FromBits, Ints)

TLR2_PAIR_BINARY(Mask, Less, Floats)
TLR2_PAIR_BINARY(Mask, LessEqual, Floats)
TLR2_PAIR_BINARY(Mask, Equal, Floats)
TLR2_PAIR_BINARY(Mask, NotEqual, Floats)

TLR2_PAIR_BINARY(Ints, Add, Ints)
TLR2_PAIR_BINARY(Ints, Sub, Ints)
TLR2_PAIR_BINARY(Ints, Mul, Ints)
TLR2_PAIR_BINARY(Ints, Min, Ints)
TLR2_PAIR_BINARY(Ints, Max, Ints)
TLR2_PAIR_BINARY(Ints, And, Ints)
TLR2_PAIR_BINARY(Mask, Less, Ints)
TLR2_PAIR_BINARY(Mask, Equal, Ints)
template <int N>
LANE_FN Ints ShiftLeft(Ints x) {
  return {ShiftLeft<N>(x.part[0]), ShiftLeft<N>(x.part[1])};
}
template <int N>
LANE_FN Ints ShiftRight(Ints x) {
  return {ShiftRight<N>(x.part[0]), ShiftRight<N>(x.part[1])};
}

TLR2_PAIR_BINARY(Mask, And, Mask)
TLR2_PAIR_BINARY(Mask, Or, Mask)
TLR2_PAIR_TERNARY(Floats, Select, Mask, Floats)
TLR2_PAIR_TERNARY(Ints, Select, Mask, Ints)

TLR2_PAIR_UNARY(Floats, ReverseGroups, Floats)
TLR2_PAIR_UNARY(Floats, SwapGroupHalves, Floats)

#undef TLR2_PAIR_UNARY
#undef TLR2_PAIR_BINARY
#undef TLR2_PAIR_TERNARY

LANE_FN bool Any(Mask m) { return Any(Or(m.part[0], m.part[1])); }
LANE_FN bool All(Mask m) { return All(And(m.part[0], m.part[1])); }
LANE_FN std::int32_t FirstLane(Ints x) { return FirstLane(x.part[0]); }
/// Pairwise tree over adjacent lanes.
LANE_FN float Sum(Floats x) { return Sum(x.part[0], x.part[1]); }
LANE_FN Extremes ExtremesOf(Floats x) { return ExtremesOf(x.part[0], x.part[1]); }
LANE_FN float Greatest(Floats x) { return Greatest(Max(x.part[0], x.part[1])); }
/// Channels truncated, clamped to a byte and packed 0xAARRGGBB.
LANE_FN Ints PackBytes(Floats red, Floats green, Floats blue, Floats alpha) {
  return {PackBytes(red.part[0], green.part[0], blue.part[0], alpha.part[0]),
          PackBytes(red.part[1], green.part[1], blue.part[1], alpha.part[1])};
}
/// Words of the live lanes, 0 in the others, which are not read.
LANE_FN Ints GatherLive(const void* base, Ints byteOffsets, Mask live) {
  return {GatherLive(base, byteOffsets.part[0], live.part[0]), GatherLive(base, byteOffsets.part[1], live.part[1])};
}
/// Writes the words of the live lanes.
LANE_FN void ScatterLive(void* base, Ints byteOffsets, Ints words, Mask live) {
  ScatterLive(base, byteOffsets.part[0], words.part[0], live.part[0]);
  ScatterLive(base, byteOffsets.part[1], words.part[1], live.part[1]);
}

}  // namespace
}  // namespace tlr2
