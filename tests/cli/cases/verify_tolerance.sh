tlr2_replay verify --isa sse4 --max-diff 255 wrong_reference.tlr2-capture; echo $?
tlr2_replay verify --isa sse4 --max-pixels 3072 --frames 1 wrong_reference.tlr2-capture; echo $?
tlr2_replay verify --isa sse4 --max-pixels 3071 --frames 1 wrong_reference.tlr2-capture; echo $?
