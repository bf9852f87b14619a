tlr2_replay verify --isa sse4 --frames 2 --json wrong_reference.tlr2-capture
