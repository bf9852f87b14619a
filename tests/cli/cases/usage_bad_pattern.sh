tlr2_replay calls --grep "(" small.tlr2-capture >/dev/null 2>&1; echo $?
