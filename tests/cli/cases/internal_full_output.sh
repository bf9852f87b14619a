tlr2_replay info small.tlr2-capture >/dev/full
