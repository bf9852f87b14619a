# In the foreground timeout sends the signal once; otherwise once more to the group, and a second one ends a program at once.
timeout --foreground --preserve-status -s INT 1 tlr2_replay textures endless.tlr2-capture
