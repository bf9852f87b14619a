tlr2_replay info wide_viewport.tlr2-capture
