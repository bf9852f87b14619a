bench="tlr2_replay bench --isas sse4 --thread-counts 1 --repeats 2 --json"
$bench small.tlr2-capture >now.json
sed 's/"median_ms": .*/"median_ms": 1000000,/' now.json >slow.json
sed 's/"median_ms": .*/"median_ms": 0.0000001,/' now.json >fast.json
$bench --baseline slow.json small.tlr2-capture >out.json; echo $?; sed 's/\(_ms\|_percent\)": -\{0,1\}[0-9][0-9.e-]*/\1": N/' out.json | head -16; grep -c '"slower": true' out.json
$bench --baseline fast.json --frames 1 small.tlr2-capture >out.json; echo $?; sed -n 5p out.json; grep -c '"frame": "1"' out.json
# What is no time is no baseline.
for median in nan inf -1; do
  printf 'target,threads,frame,stage,min_ms,median_ms,p95_ms,max_ms\nsse4,1,all,total,1,%s,1,1\n' $median >bad.csv
  tlr2_replay bench --isas sse4 --thread-counts 1 --repeats 1 --baseline bad.csv small.tlr2-capture; echo $?
  printf '{"rows": [{"target": "sse4", "threads": 1, "frame": "all", "stage": "total", "median_ms": %s}]}' $median >bad.json
  tlr2_replay bench --isas sse4 --thread-counts 1 --repeats 1 --baseline bad.json small.tlr2-capture; echo $?
done
