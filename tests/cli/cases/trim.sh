tlr2_replay trim --frames 1-2 small.tlr2-capture out.tlr2-capture && tlr2_replay info out.tlr2-capture; tlr2_replay textures out.tlr2-capture; ls out*
