tlr2_replay explain --isa sse4 --frame 2 --pixel 5,40 --json small.tlr2-capture
