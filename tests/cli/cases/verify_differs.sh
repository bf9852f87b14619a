tlr2_replay verify wrong_reference.tlr2-capture >/dev/null; echo $?
