// Four quads in registers of their own, one a corner of the tile: upper left, upper right, lower left, lower right.
// Included by the lanes that have no wider registers.
#pragma once

namespace tlr2 {
namespace {

struct Quads {
  Quad at[4];
};

LANE_FN Quads Each(Quad x) { return {{x, x, x, x}}; }
LANE_FN Quads CornerColumns(Quad left, Quad right) { return {{left, right, left, right}}; }
LANE_FN Quads CornerRows(Quad top, Quad bottom) { return {{top, top, bottom, bottom}}; }
#define TLR2_QUADS_BINARY(name)                                                                                \
  LANE_FN Quads name(Quads x, Quads y) {                                                                       \
    return {{name(x.at[0], y.at[0]), name(x.at[1], y.at[1]), name(x.at[2], y.at[2]), name(x.at[3], y.at[3])}}; \
  }
TLR2_QUADS_BINARY(Add)
TLR2_QUADS_BINARY(Sub)
TLR2_QUADS_BINARY(Mul)
TLR2_QUADS_BINARY(Xor)
#undef TLR2_QUADS_BINARY
LANE_FN Quads MulSub(Quads x, Quads y, Quads z) {
  return {{MulSub(x.at[0], y.at[0], z.at[0]), MulSub(x.at[1], y.at[1], z.at[1]), MulSub(x.at[2], y.at[2], z.at[2]),
           MulSub(x.at[3], y.at[3], z.at[3])}};
}
/// Whether one of the first three elements is less than 0 at all corners.
LANE_FN bool OneBelowAtAll(Quads x) {
  const Quad zero = SplatQuad(0.0f);
  return EdgeBits(And(And(Less(x.at[0], zero), Less(x.at[1], zero)), And(Less(x.at[2], zero), Less(x.at[3], zero)))) !=
         0;
}
/// Whether the first three elements are 0 or more at all corners.
LANE_FN bool NotBelowAtAny(Quads x) {
  const Quad zero = SplatQuad(0.0f);
  return EdgeBits(And(And(LessEqual(zero, x.at[0]), LessEqual(zero, x.at[1])),
                      And(LessEqual(zero, x.at[2]), LessEqual(zero, x.at[3])))) == 7;
}

}  // namespace
}  // namespace tlr2
