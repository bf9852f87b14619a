tlr2_replay profile --threads 2 --format chrome small.tlr2-capture | python3 -c "import json,sys; print(sorted({e[\"name\"] for e in json.load(sys.stdin)[\"traceEvents\"] if e[\"ph\"] == \"X\"}))"
