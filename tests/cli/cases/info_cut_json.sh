tlr2_replay info --json cut.tlr2-capture
