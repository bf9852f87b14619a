tlr2_replay diff --isa sse4 --b-set DisableBlend=1 --frames 1 --json small.tlr2-capture
