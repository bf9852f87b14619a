tlr2_replay textures --extract pictures small.tlr2-capture >/dev/null && ls pictures && tlr2_replay textures --extract one --texture 3 --level 1 small.tlr2-capture >/dev/null && ls one
