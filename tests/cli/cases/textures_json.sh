tlr2_replay textures --json --frame 0 small.tlr2-capture
