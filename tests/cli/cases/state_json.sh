tlr2_replay state --at 0:0 --json small.tlr2-capture
