tlr2_replay recover cut.tlr2-capture nowhere/out.tlr2-capture
