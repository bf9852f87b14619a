tlr2_replay help frobnicate
