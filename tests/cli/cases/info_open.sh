tlr2_replay info open.tlr2-capture
