tlr2_replay diff --isa sse4 --frames 0 --out page.html small.tlr2-capture larger.tlr2-capture; echo $?
grep -c "different sizes" page.html
tlr2_replay diff --isa sse4 --frames 0 --json small.tlr2-capture larger.tlr2-capture | sed -n '/"frames"/,$p'
