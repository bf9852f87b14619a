tlr2_replay render --isa sse4 --format hash --frames 0 --set ForceFilter=2 small.tlr2-capture
tlr2_replay render --isa sse4 --format hash --frames 1 --set DisableBlend=1 --kernel-mode 0 small.tlr2-capture
