for words in "--isa sse5" "--threads many" "--threads 5000" "--set ForceFilter" "--set ForceFilter=9" "--cutoff soon" "--kernel-mode 7" "--format gif" "--frames 0-9"; do
  tlr2_replay render --format hash $words small.tlr2-capture; echo $?
done 2>&1 | cut -c 1-90
