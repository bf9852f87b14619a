for words in "report --out page.html --calls -1" "report --out page.html --calls 99999999999" "diff --pictures 18446744073709551615" \
  "bench --warm-up 4294967295 --repeats 1" "bench --warm-up 4294967295 --repeats 2" "bench --repeats 0"; do
  tlr2_replay $words small.tlr2-capture 2>message; echo $?; head -1 message | grep -o -- "--[a-z]*.*"
done
ls page.html 2>/dev/null; true
