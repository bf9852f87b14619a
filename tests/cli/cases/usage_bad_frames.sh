for frames in 3 0-3 2-1 a 0,,1 -1; do tlr2_replay calls --frames=$frames small.tlr2-capture; echo $?; done
