tlr2_replay calls --json --frames 0 --records 5-11 small.tlr2-capture; tlr2_replay calls --json --grep nothing small.tlr2-capture
