# Messages name the value: the option has another name on the second side and in lists.
for words in "diff --b-threads x" "bench --thread-counts 1,x" "render --format hash --kernel-mode 3" "diff --b-kernel-mode=-1" "diff --b-set ForceFilter=9" \
  "bench --thread-counts 1,,2" "bench --isas sse4," "render --format hash --each-primitive --cutoff bin" \
  "render --format hash --each-primitive --set PipelineCutoff=2"; do
  tlr2_replay $words small.tlr2-capture; echo $?
done
