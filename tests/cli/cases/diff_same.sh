tlr2_replay diff --isa sse4 --threads 1 --b-threads 7 small.tlr2-capture
