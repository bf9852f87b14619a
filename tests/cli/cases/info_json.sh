tlr2_replay info --json small.tlr2-capture
