tlr2_replay recover spoiled.tlr2-capture out.tlr2-capture; echo $?; ls out* 2>/dev/null
