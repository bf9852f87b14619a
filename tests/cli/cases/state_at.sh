tlr2_replay state --at 1:8 small.tlr2-capture
