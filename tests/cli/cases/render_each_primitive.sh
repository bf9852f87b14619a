tlr2_replay render --isa sse4 --out out --frames 1 --each-primitive small.tlr2-capture >/dev/null; ls out; cmp out/frame00001.png out/frame00001_primitive00000.png
# The quad of frame 2 is its second primitive; the line before it has too few vertices to be drawn.
tlr2_replay calls --frames 2 --primitives 1 --grep glBegin small.tlr2-capture
tlr2_replay render --isa sse4 --out two --frames 2 --each-primitive small.tlr2-capture; ls two
tlr2_replay render --isa sse4 --format hash --frames 2,0 --each-primitive --json small.tlr2-capture | grep -A6 eachPrimitive
