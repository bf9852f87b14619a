tlr2_replay frobnicate small.tlr2-capture
