tlr2_replay diff --isa sse4 small.tlr2-capture cut.tlr2-capture; echo $?
tlr2_replay diff --isa sse4 small.tlr2-capture open_cut.tlr2-capture; echo $?
tlr2_replay diff --isa sse4 --json small.tlr2-capture open_cut.tlr2-capture | head -8
tlr2_replay diff --isa sse4 --frames 0-1 small.tlr2-capture open_cut.tlr2-capture; echo $?
