for name in headless not_a_capture version3 another_layout implausible_count overlapping largest_blob longest_stream; do
  tlr2_replay info $name.tlr2-capture; echo $?
  tlr2_replay info --json $name.tlr2-capture >out.json 2>/dev/null; echo $?
  python3 -c 'import json; r = json.load(open("out.json")); print({k: r.get(k) for k in ("bytes", "version", "closed", "textures", "blobs", "damage")})'
done
