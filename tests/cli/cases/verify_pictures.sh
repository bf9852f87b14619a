tlr2_replay verify --isa sse4 --out d wrong_reference.tlr2-capture; echo $?; ls d
