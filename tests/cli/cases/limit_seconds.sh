tlr2_replay textures --max-seconds 1 endless.tlr2-capture
