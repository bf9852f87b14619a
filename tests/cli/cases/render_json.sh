tlr2_replay render --format hash --isa sse4 --frames 2 --json small.tlr2-capture
