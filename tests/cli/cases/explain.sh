tlr2_replay explain --isa sse4 --frame 1 --pixel 40,24 small.tlr2-capture
tlr2_replay explain --isa sse4 --frame 0 --pixel 20,20 small.tlr2-capture
tlr2_replay explain --isa sse4 --frame 1 --pixel 0,0 small.tlr2-capture
