tlr2_replay explain --pixel 64,0 small.tlr2-capture; echo $?
tlr2_replay explain --pixel 3 small.tlr2-capture; echo $?
tlr2_replay explain --pixel 3,3 --frame 3 small.tlr2-capture; echo $?
tlr2_replay explain --pixel 3,3 --set PipelineCutoff=3 small.tlr2-capture; echo $?
tlr2_replay explain --pixel 3,3 --cutoff=bin small.tlr2-capture; echo $?
tlr2_replay explain small.tlr2-capture; echo $?
