tlr2_replay render --format hash --isa sse4 small.tlr2-capture
