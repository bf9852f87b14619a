tlr2_replay render --isa sse4 --out out --depth --frames 0,2 small.tlr2-capture >/dev/null; ls out; head -c 8 out/frame00002.png | od -A n -t x1
