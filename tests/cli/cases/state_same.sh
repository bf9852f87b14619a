tlr2_replay state --diff 1:9 1:9 small.tlr2-capture
