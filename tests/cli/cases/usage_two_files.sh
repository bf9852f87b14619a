tlr2_replay info small.tlr2-capture open.tlr2-capture
