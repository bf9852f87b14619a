tlr2_replay calls small.tlr2-capture
