tlr2_replay verify --isa sse4 --json --max-diff 255 wrong_reference.tlr2-capture | grep '"verdict"'
tlr2_replay verify --isa sse4 --json half_reference.tlr2-capture | grep '"verdict"'
tlr2_replay verify --isa sse4 --json other_size.tlr2-capture | grep '"verdict"'
tlr2_replay verify --all-isas --out d unjudged.tlr2-capture 2>message; echo $?; head -1 message | grep -o -- "--[a-z]*.*"; ls d 2>/dev/null
tlr2_replay verify --all-isas --isa sse4 unjudged.tlr2-capture 2>message; echo $?; head -1 message | grep -o -- "--[a-z]*.*"
