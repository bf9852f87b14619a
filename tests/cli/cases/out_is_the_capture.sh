cp small.tlr2-capture before; cp small.tlr2-capture x; cp small.tlr2-capture page.part; ln -s x link
for words in "trim --frames 0 x x" "trim --frames 0 x ./x" "trim --frames 0 x link" "trim --frames 0 page.part page" \
  "recover page.part page" "report --out x x" "report --out page page.part" "diff --out x x" \
  "diff --out x small.tlr2-capture x" "diff --out page page.part"; do
  tlr2_replay $words; echo $?
done
cmp x before; cmp page.part before; test -h link || echo link replaced; ls page*
tlr2_replay recover x x >/dev/null; echo $?; cmp x before
