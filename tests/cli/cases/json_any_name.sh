# File names are bytes: JSON that tells of them is JSON all the same.
name=$(printf 'half\377.tlr2-capture'); folder=$(printf 'out\377')
cp half_reference.tlr2-capture "$name"
check() { "$@" "$name" >out.json; python3 -c 'import json,sys; json.load(open("out.json", encoding="utf-8"))' && echo "$2"; }
check tlr2_replay info --json
check tlr2_replay render --json --out "$folder"
check tlr2_replay verify --json --out "$folder"
check tlr2_replay diff --json
check tlr2_replay report --json --out page.html
check tlr2_replay bench --json --repeats 1
