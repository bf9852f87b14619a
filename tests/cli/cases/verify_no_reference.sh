tlr2_replay verify small.tlr2-capture
