tlr2_replay render small.tlr2-capture
