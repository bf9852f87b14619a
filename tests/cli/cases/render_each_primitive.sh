tlr2_replay render --isa sse4 --out out --frames 1 --each-primitive small.tlr2-capture >/dev/null; ls out; cmp out/frame00001.png out/frame00001_primitive00000.png
