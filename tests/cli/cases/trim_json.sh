tlr2_replay trim --json --frames 2 small.tlr2-capture out.tlr2-capture
