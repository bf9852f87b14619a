tlr2_replay diff --isa sse4 small.tlr2-capture cut.tlr2-capture
tlr2_replay diff --isa sse4 small.tlr2-capture open_cut.tlr2-capture
