tlr2_replay state small.tlr2-capture
