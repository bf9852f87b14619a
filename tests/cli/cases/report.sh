tlr2_replay report --isa sse4 --out page.html --maps 0,2 small.tlr2-capture | sed "s/[0-9]* bytes/N bytes/"; grep -o "<h[123]>[^<]*" page.html; grep -c "src=\"http" page.html
tlr2_replay report --isa sse4 --frames 1-2 --out part.html small.tlr2-capture >/dev/null
grep -o "<title>frame [0-9]*, emit" part.html
