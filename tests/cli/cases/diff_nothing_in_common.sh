tlr2_replay diff --isa sse4 small.tlr2-capture empty.tlr2-capture; echo $?
tlr2_replay diff --isa sse4 --json empty.tlr2-capture; echo $?
