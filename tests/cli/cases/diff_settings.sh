tlr2_replay diff --isa sse4 --b-set DisableBlend=1 small.tlr2-capture; echo $?
tlr2_replay diff --isa sse4 --b-set DisableBlend=1 --max-diff 200 --frames 0-1 small.tlr2-capture; echo $?
