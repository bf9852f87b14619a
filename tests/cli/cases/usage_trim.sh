for options in "" "--frames 0-1,2" "--frames 1-3" "--frames 0 --reference no"; do tlr2_replay trim $options small.tlr2-capture out.tlr2-capture; echo $?; done; ls out* 2>/dev/null
