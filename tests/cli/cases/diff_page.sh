tlr2_replay diff --isa sse4 --b-set DisableBlend=1 --out page.html small.tlr2-capture >/dev/null; grep -c "<img" page.html; grep -c "<svg" page.html; grep -c "src=\"http" page.html
