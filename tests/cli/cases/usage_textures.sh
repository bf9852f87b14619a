tlr2_replay textures --level 0 small.tlr2-capture; echo $?; tlr2_replay textures --frame 3 small.tlr2-capture
