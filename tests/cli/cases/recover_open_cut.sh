tlr2_replay recover --json open_cut.tlr2-capture out.tlr2-capture
