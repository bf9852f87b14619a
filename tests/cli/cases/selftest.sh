tlr2_replay selftest >out; echo $?; grep sse4 out
