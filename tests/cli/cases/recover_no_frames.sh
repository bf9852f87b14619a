tlr2_replay recover no_frames.tlr2-capture out.tlr2-capture && cmp out.tlr2-capture empty.tlr2-capture && echo same
