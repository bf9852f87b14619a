tlr2_replay textures small.tlr2-capture
