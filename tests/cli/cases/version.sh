tlr2_replay --version
