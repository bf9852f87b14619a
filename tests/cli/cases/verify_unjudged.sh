tlr2_replay verify --isa sse4 --out d unjudged.tlr2-capture; echo $?; ls d
tlr2_replay verify --isa sse4 --frames 0 unjudged.tlr2-capture; echo $?
tlr2_replay verify --isa sse4 --frames 0-1 --json unjudged.tlr2-capture; echo $?
tlr2_replay verify --all-isas unjudged.tlr2-capture | grep -o "^[0-9]* *\(not judged\|identical +[0-9]* unjudged\|[0-9]* (by up to [0-9]*) +[0-9]* unjudged\)" | tr -s " "
tlr2_replay verify --all-isas --frames 0-1 unjudged.tlr2-capture >/dev/null; echo $?
