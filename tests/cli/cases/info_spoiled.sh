tlr2_replay info spoiled.tlr2-capture
