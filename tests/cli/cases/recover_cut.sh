tlr2_replay recover cut.tlr2-capture out.tlr2-capture && tlr2_replay info out.tlr2-capture; ls out*
