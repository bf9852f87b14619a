tlr2_replay bench --isas sse4 --thread-counts 1 --repeats 2 small.tlr2-capture >now.csv
awk -F, -v OFS=, 'NR > 1 { $6 = 1000000 } 1' now.csv >slow.csv
awk -F, -v OFS=, 'NR > 1 { $6 = 0.000001 } 1' now.csv >fast.csv
tlr2_replay bench --isas sse4 --thread-counts 1 --repeats 2 --baseline slow.csv small.tlr2-capture >out; echo $?; awk '{ print $1, $2, $3, $4 }' out
tlr2_replay bench --isas sse4 --thread-counts 1 --repeats 2 --baseline fast.csv small.tlr2-capture >out; echo $?; grep -c slower out
tlr2_replay bench --isas sse4 --thread-counts 1 --repeats 2 --json small.tlr2-capture >now.json
tlr2_replay bench --isas sse4 --thread-counts 1 --repeats 2 --baseline now.json --threshold 1000000 small.tlr2-capture >out; echo $?
