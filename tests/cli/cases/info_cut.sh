tlr2_replay info cut.tlr2-capture
