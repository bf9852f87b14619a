tlr2_replay textures --max-memory 64 endless.tlr2-capture
