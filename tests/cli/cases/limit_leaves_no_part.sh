tlr2_replay trim --frames 2 --max-seconds 1 endless.tlr2-capture out.tlr2-capture; echo $?; ls out* 2>/dev/null
