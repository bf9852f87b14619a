echo nothing >bad.csv; tlr2_replay bench --baseline bad.csv small.tlr2-capture; echo $?
tlr2_replay bench --baseline no.csv small.tlr2-capture; echo $?
echo '{"rows": [{"target": "sse4"}]}' >bad.json; tlr2_replay bench --baseline bad.json small.tlr2-capture; echo $?
mkdir folder; tlr2_replay bench --baseline folder small.tlr2-capture; echo $?
echo '{"rows": []}' >none.json; tlr2_replay bench --repeats 1 --baseline none.json small.tlr2-capture; echo $?
