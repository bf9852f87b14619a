tlr2_replay profile --json small.tlr2-capture | head -c 16
