tlr2_replay info --frobnicate small.tlr2-capture
