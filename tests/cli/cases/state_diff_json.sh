tlr2_replay state --diff 2:6 2:8 --json small.tlr2-capture
