tlr2_replay info
