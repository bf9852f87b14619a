tlr2_replay trace-info small.tlr2-capture
