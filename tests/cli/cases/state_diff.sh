tlr2_replay state --diff 0:0 1:0 small.tlr2-capture
