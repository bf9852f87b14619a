timeout --preserve-status -s INT 1 tlr2_replay textures endless.tlr2-capture
