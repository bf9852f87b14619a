tlr2_replay render --isa sse4 --format raw --out out --depth --frames 0 small.tlr2-capture >/dev/null; wc -c out/*; head -c 4 out/frame00000.bgra | od -A n -t u1
