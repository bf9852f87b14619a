tlr2_replay calls --frames 0,2 --records 8-14 small.tlr2-capture; echo; tlr2_replay calls --frames 2 --primitives 1 small.tlr2-capture
