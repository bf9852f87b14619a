for stage in command-stream packets triangles prep bin full 5; do tlr2_replay render --isa sse4 --format hash --frames 0 --cutoff $stage small.tlr2-capture; done
