tlr2_replay trim large_surface.tlr2-capture out.tlr2-capture --frames 0 --reference draw; echo $?; ls out* 2>/dev/null
tlr2_replay trim large_surface.tlr2-capture out.tlr2-capture --frames 0; echo $?
