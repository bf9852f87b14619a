tlr2_replay profile small.tlr2-capture
