for words in "textures --extract none --texture 99" "textures --extract none --texture 2 --frame 0 --level 7" \
  "textures --extract none --level 9" "calls --records 99" "calls --frames 1-2 --records 0-3,24-30" "calls --primitives 2-9" \
  "bench --threshold -1"; do
  tlr2_replay $words small.tlr2-capture; echo $?
done
ls none 2>/dev/null
tlr2_replay info nosuch; echo $?
tlr2_replay profile --json --format folded small.tlr2-capture; echo $?
