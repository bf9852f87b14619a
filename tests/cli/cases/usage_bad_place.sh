for place in 1 a:b 3:0 0:99 1:; do tlr2_replay state --at $place small.tlr2-capture; echo $?; done
