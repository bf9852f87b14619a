tlr2_replay trim --frames 0-2 small.tlr2-capture out.tlr2-capture && tlr2_replay info out.tlr2-capture
