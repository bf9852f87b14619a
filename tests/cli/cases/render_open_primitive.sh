# Each frame begins inside a primitive that the one before it, or the keyframe, has opened, and draws the vertices of its own.
tlr2_replay calls --grep "glBegin|glEnd" open_primitive.tlr2-capture
tlr2_replay render --isa sse4 --format hash --each-primitive open_primitive.tlr2-capture
# Frames chosen out of order draw the same.
tlr2_replay render --isa sse4 --out out --frames 2 --each-primitive open_primitive.tlr2-capture; ls out
tlr2_replay render --isa sse4 --format hash --frames 1 --each-primitive --json open_primitive.tlr2-capture | grep -A12 eachPrimitive
