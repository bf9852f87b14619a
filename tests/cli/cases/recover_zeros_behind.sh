tlr2_replay recover zeros_behind.tlr2-capture out.tlr2-capture && cmp out.tlr2-capture small.tlr2-capture && echo same
