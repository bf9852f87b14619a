tlr2_replay info empty.tlr2-capture
