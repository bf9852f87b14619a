for threads in 1 2 7 64; do tlr2_replay render --format hash --isa sse4 --threads $threads --frames 2 small.tlr2-capture; done
