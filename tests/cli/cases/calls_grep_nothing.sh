tlr2_replay calls --grep glNothing small.tlr2-capture; echo $?; tlr2_replay calls --json --grep glNothing small.tlr2-capture; echo $?
